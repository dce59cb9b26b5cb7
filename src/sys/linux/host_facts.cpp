#include "host_facts.h"

#include <unistd.h>

namespace zel::sys {

std::uint32_t processId()
{
    return static_cast<std::uint32_t>(getpid());
}

} // namespace zel::sys
