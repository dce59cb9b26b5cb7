#pragma once

#include <chrono>
#include <cstdint>
#include <utility>

namespace zel::simulator {

/// Nanoseconds since 1970-01-01 00:00 UTC, right when the program began and steady ever after: what
/// is done to the host's clock meanwhile must not tear the measured values apart.
inline std::uint64_t steadyUtc()
{
    using namespace std::chrono;
    static const auto begin = std::pair{system_clock::now(), steady_clock::now()};
    const auto passed = steady_clock::now() - begin.second;
    const auto time = duration_cast<nanoseconds>(begin.first.time_since_epoch() + passed);
    return static_cast<std::uint64_t>(time.count());
}

} // namespace zel::simulator
