#pragma once

#include <cstdint>
#include <deque>
#include <optional>

namespace zel::acquisition {

/// One module's clock against the host's, from the times at which the host has received samples:
/// a sample is never received before it was taken, and now and then one is received without
/// delay. Those lie on the lower edge of all that came; its slope is the drift.
class ClockEstimator {
public:
    /// A sample that the module took at `moduleTime` was the newest of an answer that came at
    /// `hostTime`, `roundTrip` nanoseconds after it had been asked for; the signal's period in
    /// nanoseconds. Module times that step back begin anew.
    void add(std::uint64_t moduleTime, std::uint64_t hostTime, std::uint64_t roundTrip,
             std::uint64_t period);
    /// The module's clock was set.
    void restart();

    struct Estimate {
        std::uint64_t moduleTime = 0; ///< the newest
        std::int64_t offset = 0;      ///< host's minus module's, nanoseconds
        double drift = 0;             ///< seconds in each second; 0 until it can be told
        std::uint64_t uncertainty = 0; ///< nanoseconds, either way
    };
    /// Nothing before the first sample.
    std::optional<Estimate> estimate() const;

private:
    struct Point {
        double x = 0; // seconds since the origin, module's time
        double y = 0; // host's minus module's, in seconds, less that of the origin
    };

    void drop(double before);

    bool m_hasOrigin = false;
    std::uint64_t m_originTime = 0;
    std::int64_t m_originOffset = 0;
    std::uint64_t m_newest = 0;
    double m_leastDelay = 0; // what it may be that even the quickest sample took, seconds
    std::deque<Point> m_hull; // the lower edge, from left to right
    double m_first = 0;       // x of the oldest point that it stands for
};

} // namespace zel::acquisition
