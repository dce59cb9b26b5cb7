#pragma once

#include <ctime>

namespace zel::cli {

/// The host's time of day, whatever thread asks.
std::tm localTime(std::time_t seconds);
/// Seconds since 1970 of a time in UTC; -1 for none.
std::time_t secondsOfUtc(std::tm time);

} // namespace zel::cli
