#include "clock_estimator.h"

#include <algorithm>
#include <cmath>

namespace zel::acquisition {

namespace {

// Long enough that a queue which grows does not look like drift, short enough to follow the
// temperature.
constexpr double kWindow = 600;
// A drift from less than this would be mostly noise.
constexpr double kShortestForDrift = 60;
// A clock that is set steps by more than jitter.
constexpr double kLargestDrift = 1e-3;

double seconds(std::uint64_t nanoseconds)
{
    return static_cast<double>(nanoseconds) / 1e9;
}

} // namespace

void ClockEstimator::restart()
{
    m_hasOrigin = false;
    m_hull.clear();
}

void ClockEstimator::add(std::uint64_t moduleTime, std::uint64_t hostTime, std::uint64_t roundTrip,
                         std::uint64_t period)
{
    const auto offset = static_cast<std::int64_t>(hostTime - moduleTime);
    if (m_hasOrigin && moduleTime < m_newest)
        restart();
    if (!m_hasOrigin) {
        m_hasOrigin = true;
        m_originTime = moduleTime;
        m_originOffset = offset;
        m_leastDelay = seconds(roundTrip) + seconds(period);
        m_first = 0;
    }
    m_newest = moduleTime;
    m_leastDelay = std::min(m_leastDelay, seconds(roundTrip) + seconds(period));
    const Point point{seconds(moduleTime - m_originTime),
                      static_cast<double>(offset - m_originOffset) / 1e9};
    const auto isAbove = [&](const Point& a, const Point& b) {
        return (b.y - a.y) * (point.x - a.x) >= (point.y - a.y) * (b.x - a.x);
    };
    while (m_hull.size() >= 2 && isAbove(m_hull[m_hull.size() - 2], m_hull.back()))
        m_hull.pop_back();
    if (m_hull.size() == 1 && m_hull.back().x == point.x) {
        m_hull.back().y = std::min(m_hull.back().y, point.y);
        return;
    }
    m_hull.push_back(point);
    drop(point.x - kWindow);
}

void ClockEstimator::drop(double before)
{
    // The edge that reaches out of the window is cut there.
    while (m_hull.size() >= 2 && m_hull[1].x <= before)
        m_hull.pop_front();
    if (m_hull.size() >= 2 && m_hull.front().x < before) {
        const Point& a = m_hull[0];
        const Point& b = m_hull[1];
        m_hull.front() = {before, a.y + (b.y - a.y) * (before - a.x) / (b.x - a.x)};
    }
    m_first = m_hull.front().x;
}

std::optional<ClockEstimator::Estimate> ClockEstimator::estimate() const
{
    if (m_hull.empty())
        return {};
    const double newest = m_hull.back().x;
    const double middle = (m_first + newest) / 2;
    double lowest = m_hull.front().y;
    double drift = 0;
    if (newest - m_first >= kShortestForDrift) {
        std::size_t right = 1;
        while (right + 1 < m_hull.size() && m_hull[right].x < middle)
            ++right;
        const Point& a = m_hull[right - 1];
        const Point& b = m_hull[right];
        drift = std::clamp((b.y - a.y) / (b.x - a.x), -kLargestDrift, kLargestDrift);
        lowest = a.y + drift * (newest - a.x);
    } else {
        for (const Point& point : m_hull)
            lowest = std::min(lowest, point.y);
    }
    // The quickest sample was taken between so much before the host had it and at once.
    const double half = m_leastDelay / 2;
    Estimate result;
    result.moduleTime = m_newest;
    result.offset = m_originOffset + std::llround((lowest - half) * 1e9);
    result.drift = drift;
    result.uncertainty = static_cast<std::uint64_t>(half * 1e9 + 0.5);
    return result;
}

} // namespace zel::acquisition
