#include "host_facts.h"

#include <cstdlib>

#include <windows.h>

namespace zel {

std::uint32_t processId()
{
    return GetCurrentProcessId();
}

std::tm localTime()
{
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    localtime_s(&parts, &now);
    return parts;
}

std::string environmentText(const char* name)
{
    std::string text(GetEnvironmentVariableA(name, nullptr, 0), '\0');
    const DWORD length =
        GetEnvironmentVariableA(name, text.data(), static_cast<DWORD>(text.size()));
    text.resize(length < text.size() ? length : 0); // it may have become longer meanwhile
    return text;
}

std::filesystem::path userFolder()
{
    const wchar_t* const folder = _wgetenv(L"USERPROFILE");
    return folder == nullptr ? std::filesystem::path{} : std::filesystem::path{folder};
}

} // namespace zel
