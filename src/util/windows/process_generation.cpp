#include "process_generation.h"

namespace zel {

// Processes do not fork here.
std::uint32_t processGeneration()
{
    return 1;
}

} // namespace zel
