#include "calendar.h"

namespace zel::cli {

std::tm localTime(std::time_t seconds)
{
    std::tm time{};
    localtime_r(&seconds, &time);
    return time;
}

std::time_t secondsOfUtc(std::tm time)
{
    return timegm(&time);
}

} // namespace zel::cli
