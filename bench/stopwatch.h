#pragma once

#include <chrono>

namespace zel::bench {

using Clock = std::chrono::steady_clock;

inline double secondsSince(Clock::time_point began)
{
    return std::chrono::duration<double>(Clock::now() - began).count();
}

} // namespace zel::bench
