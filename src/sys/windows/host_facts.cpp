#include "host_facts.h"

#include <windows.h>

namespace zel::sys {

std::uint32_t processId()
{
    return GetCurrentProcessId();
}

} // namespace zel::sys
