#include "local_time.h"

namespace zel {

std::tm localTime()
{
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    localtime_s(&parts, &now);
    return parts;
}

} // namespace zel
