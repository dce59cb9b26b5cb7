#include "host_facts.h"

#include <cstdlib>

#include <windows.h>

namespace zel {

std::uint32_t processId()
{
    return GetCurrentProcessId();
}

std::filesystem::path userFolder()
{
    const wchar_t* const folder = _wgetenv(L"USERPROFILE");
    return folder == nullptr ? std::filesystem::path{} : std::filesystem::path{folder};
}

} // namespace zel
