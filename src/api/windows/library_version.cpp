#include "library_version.h"

#include <vector>

#include <windows.h>

namespace zel {

namespace {

std::wstring ownFileName()
{
    HMODULE self = nullptr;
    const auto* const address = reinterpret_cast<LPCWSTR>(&libraryVersion);
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            address, &self))
        return {};
    std::wstring name(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(self, name.data(), static_cast<DWORD>(name.size()));
        if (length < name.size())
            return name.substr(0, length);
        name.resize(2 * name.size()); // the name was cut
    }
}

} // namespace

std::string libraryVersion()
{
    const std::wstring file = ownFileName();
    DWORD ignored = 0;
    std::vector<char> resource(GetFileVersionInfoSizeW(file.c_str(), &ignored));
    VS_FIXEDFILEINFO* version = nullptr;
    UINT size = 0;
    if (resource.empty() ||
        !GetFileVersionInfoW(file.c_str(), 0, static_cast<DWORD>(resource.size()),
                             resource.data()) ||
        !VerQueryValueW(resource.data(), L"\\", reinterpret_cast<void**>(&version), &size) ||
        size < sizeof *version)
        return {};
    return std::to_string(HIWORD(version->dwFileVersionMS)) + "." +
           std::to_string(LOWORD(version->dwFileVersionMS)) + "." +
           std::to_string(HIWORD(version->dwFileVersionLS)) + "." +
           std::to_string(LOWORD(version->dwFileVersionLS));
}

} // namespace zel
