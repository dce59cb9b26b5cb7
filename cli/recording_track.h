#pragma once

#include "measured_signal.h"
#include "sample.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <limits>
#include <vector>

namespace zel::cli {

/// One signal of a recording: where its samples stand in time, and those that wait to be written.
/// Times are in nanoseconds since 1970, rates in millihertz.
struct RecordingTrack {
    using Clock = std::chrono::steady_clock;

    explicit RecordingTrack(MeasuredSignal described);

    MeasuredSignal signal;
    std::deque<Sample> waiting;
    bool hasBegun = false;
    bool isEven = false; ///< its samples are counted; others have times of their own
    bool isLate = false; ///< the others do not wait for it any more
    bool isToldLate = false;
    std::uint64_t rate = 0;
    std::uint64_t first = 0;  ///< time of the first sample
    std::uint64_t newest = 0; ///< time of the last sample that came
    std::uint64_t passed = 0; ///< samples that came, or are known to be lost

    /// When the next sample is due: 0 before the first one.
    std::uint64_t next() const;

    void setRate(std::uint64_t millihertz);
    /// Whether a record at this time goes on where the last one ended.
    bool goesOnAt(std::uint64_t time) const;
    /// Counts from this time on. Signals that were sampled together share the times that count from
    /// the origin: rounded each for itself, they would miss each other by a nanosecond.
    void countFrom(std::uint64_t time, std::uint64_t origin);
    /// The samples of a record get their times.
    void place(std::vector<Sample>& samples);

    /// Looks whether the others wait for this one, whose newest sample is given, and makes
    /// it late when they have done so for too long.
    void watch(bool isAnyWaiting, std::uint64_t newestWaiting, bool hasMore);

private:
    std::uint64_t m_start = 0;
    std::uint64_t m_count = 0;
    std::uint64_t m_blocksAt = std::numeric_limits<std::uint64_t>::max();
    Clock::time_point m_blocksSince;
};

} // namespace zel::cli
