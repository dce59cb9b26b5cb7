#pragma once

#include <chrono>
#include <cstdlib>
#include <ctime>

namespace zel::bench {

using Clock = std::chrono::steady_clock;

inline double secondsSince(Clock::time_point began)
{
    return std::chrono::duration<double>(Clock::now() - began).count();
}

/// The processor's time of this process, which does not count the modules'.
inline double processorSeconds()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

inline double fromEnvironment(const char* name, double otherwise)
{
    const char* const text = std::getenv(name);
    return text ? std::strtod(text, nullptr) : otherwise;
}

} // namespace zel::bench
