#include "signal_tracker.h"

#include <algorithm>
#include <utility>

namespace zel::acquisition {

namespace {

// Two equal times that are both rounded down are at most this far apart.
constexpr std::uint64_t kRounding = 2;

std::uint64_t distance(std::uint64_t a, std::uint64_t b)
{
    return std::max(a, b) - std::min(a, b);
}

double exactSamplesIn(std::uint64_t nanoseconds, std::uint64_t rate)
{
    // Whatever a module says, a number that indices can be counted with.
    constexpr double kMost = 1e15;
    return std::min(static_cast<double>(nanoseconds) * static_cast<double>(rate) / 1e12, kMost);
}

/// To the nearest whole number.
std::uint64_t samplesIn(std::uint64_t nanoseconds, std::uint64_t rate)
{
    return static_cast<std::uint64_t>(exactSamplesIn(nanoseconds, rate) + 0.5);
}

} // namespace

std::uint64_t SignalTracker::nextTime() const
{
    if (!m_hasBegun)
        return 0;
    return m_line.rate != 0 ? m_line.at(m_next) : m_last + 1;
}

void SignalTracker::restart(std::uint64_t away)
{
    m_cause = Cause::restart;
    m_away = away;
}

Gap SignalTracker::gapUntil(std::uint64_t time, std::uint64_t count, Cause cause)
{
    const Gap gap{m_signal, m_next, count, nextTime(), time, cause};
    m_next += count;
    return gap;
}

SignalTracker::Place SignalTracker::placeEven(std::uint64_t time, std::uint64_t rate,
                                              std::uint64_t count, std::uint64_t mostMissing,
                                              std::uint64_t origin)
{
    Place place;
    const auto cause = std::exchange(m_cause, std::nullopt);
    const auto away = std::exchange(m_away, std::nullopt);
    if (m_hasBegun) {
        const std::uint64_t due = nextTime();
        const std::uint64_t half = 500'000'000'000 / rate;
        const bool isStep = distance(time, due) > half;
        const bool isClockSet = isStep && (time < due || time - due > mostMissing);
        if (isClockSet && away)
            place.before = gapUntil(time, samplesIn(*away, rate), Cause::restart);
        else if (isClockSet)
            place.before = gapUntil(time, 0, Cause::clockSet);
        else if (const std::uint64_t missing = isStep ? samplesIn(time - due, rate) : 0)
            place.before = gapUntil(time, missing, cause.value_or(Cause::timeStep));
        // Behind a gap the module mostly goes on in its old steps.
        const bool goesOn =
            m_line.rate == rate && distance(m_line.at(m_next), time) <= kRounding;
        if (!goesOn)
            m_line = {m_next, time, rate};
    } else {
        // Signals of different rates need not begin together, but within a sample of theirs.
        const std::uint64_t late = time > origin ? time - origin : 0;
        const auto missing = static_cast<std::uint64_t>(exactSamplesIn(late, rate) + 1.0 / 16);
        if (missing > 0) {
            place.before = {m_signal, m_next, missing, origin, time,
                            cause.value_or(Cause::timeStep)};
            m_next += missing;
        }
        m_line = {m_next, time, rate};
    }
    m_hasBegun = true;
    place.index = m_next;
    place.line = m_line;
    m_next += count;
    return place;
}

SignalTracker::Place SignalTracker::placeTimed(std::uint64_t first, std::uint64_t last,
                                               std::uint64_t count)
{
    Place place;
    const auto cause = std::exchange(m_cause, std::nullopt);
    m_away.reset();
    if (m_hasBegun && cause)
        place.before = gapUntil(first, 0, *cause);
    else if (m_hasBegun && first < m_last)
        place.before = gapUntil(first, 0, Cause::clockSet);
    m_hasBegun = true;
    m_last = last;
    place.index = m_next;
    m_next += count;
    return place;
}

} // namespace zel::acquisition
