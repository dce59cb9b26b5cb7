#pragma once

#include "waveform.h"

#include <cstdint>

namespace zel::simulator {

inline constexpr std::uint64_t kNanosecondsPerSecond = 1'000'000'000;

/// When a signal's samples are taken, in nanoseconds from the first one's turn on. Both ways are
/// exact for as long as 64 bits count nanoseconds.
struct SampleTimes {
    std::uint64_t rate = 0;  ///< in hertz; 0 for irregular times, one in each cycle
    std::uint64_t cycle = 1; ///< in nanoseconds
    std::uint64_t seed = 0;  ///< of the irregularity

    bool isEven() const { return rate != 0; }

    std::uint64_t at(std::uint64_t number) const
    {
        if (isEven())
            return number / rate * kNanosecondsPerSecond +
                   number % rate * kNanosecondsPerSecond / rate;
        // Within the first half of its cycle, so that no two change places.
        return number * cycle + (scatter(number, seed) >> 33) * (cycle / 2) / 0x80000000;
    }

    /// How many samples have been taken when so much time has passed.
    std::uint64_t countUntil(std::uint64_t time) const
    {
        if (!isEven()) {
            const std::uint64_t whole = time / cycle;
            return whole + (at(whole) <= time ? 1 : 0);
        }
        // The last one may have been taken within the nanosecond that has begun.
        const std::uint64_t rest = time % kNanosecondsPerSecond + 1;
        return time / kNanosecondsPerSecond * rate +
               (rest * rate + kNanosecondsPerSecond - 1) / kNanosecondsPerSecond;
    }
};

} // namespace zel::simulator
