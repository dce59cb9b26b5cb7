#include "host_facts.h"

#include <cstdlib>

#include <unistd.h>

namespace zel {

std::uint32_t processId()
{
    return static_cast<std::uint32_t>(getpid());
}

std::tm localTime()
{
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    localtime_r(&now, &parts);
    return parts;
}

std::string environmentText(const char* name)
{
    const char* const text = std::getenv(name);
    return text == nullptr ? std::string{} : std::string{text};
}

std::filesystem::path userFolder()
{
    const char* folder = std::getenv("USERPROFILE");
    if (folder == nullptr)
        folder = std::getenv("HOME");
    return folder == nullptr ? std::filesystem::path{} : std::filesystem::path{folder};
}

} // namespace zel
