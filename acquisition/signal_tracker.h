#pragma once

#include "batch.h"

#include <optional>

namespace zel::acquisition {

/// Where the samples of one signal belong: their running index, when they were taken, and what is
/// missing before them. The module's time stamps are the truth: what lies between a record's end
/// and the next one's beginning is missing.
class SignalTracker {
public:
    explicit SignalTracker(std::size_t signal) : m_signal(signal) {}

    struct Place {
        std::uint64_t index = 0; ///< of the record's first sample
        TimeLine line;
        std::optional<Gap> before;
    };

    /// A record of an evenly sampled signal: time stamp of the first of its samples, its rate in
    /// millihertz, not 0, and their number. `mostMissing`: nanoseconds that can be missing before
    /// it at most, by the host's clock; a larger step is one of the module's clock. `origin`: when
    /// the module's signals began; the first record has missed what lies between.
    Place placeEven(std::uint64_t time, std::uint64_t rate, std::uint64_t count,
                    std::uint64_t mostMissing, std::uint64_t origin);
    /// A record whose samples have times of their own.
    Place placeTimed(std::uint64_t first, std::uint64_t last, std::uint64_t count);

    /// Whatever is missing before the next record is missing for this reason.
    void interrupt(Cause cause) { m_cause = cause; }
    /// The module began anew and its clock cannot tell how long it was away: so many nanoseconds by
    /// the host's.
    void restart(std::uint64_t away);

    /// Samples of the module so far, those in gaps too.
    std::uint64_t nextIndex() const { return m_next; }
    bool hasBegun() const { return m_hasBegun; }
    /// Of what came last.
    const TimeLine& line() const { return m_line; }
    /// When the next sample is due, by what came last; 0 before the first.
    std::uint64_t nextTime() const;

private:
    Gap gapUntil(std::uint64_t time, std::uint64_t count, Cause cause);

    const std::size_t m_signal;
    bool m_hasBegun = false;
    std::uint64_t m_next = 0; // index
    TimeLine m_line;          // rate 0: samples have times of their own
    std::uint64_t m_last = 0; // time of the last sample of those
    std::optional<Cause> m_cause;
    std::optional<std::uint64_t> m_away;
};

} // namespace zel::acquisition
