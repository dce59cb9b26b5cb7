#include "calendar.h"

namespace zel::cli {

std::tm localTime(std::time_t seconds)
{
    std::tm time{};
    localtime_s(&time, &seconds);
    return time;
}

std::time_t secondsOfUtc(std::tm time)
{
    return _mkgmtime(&time);
}

} // namespace zel::cli
