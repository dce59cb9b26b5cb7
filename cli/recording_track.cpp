#include "recording_track.h"

#include <algorithm>
#include <cmath>

namespace zel::cli {

namespace {

/// Rows leave within a second, also when a signal does not come.
constexpr std::chrono::milliseconds kLongestWait{600};

} // namespace

RecordingTrack::RecordingTrack(MeasuredSignal described)
    : signal(std::move(described)),
      isEven(signal.sampleRate > 0),
      rate(static_cast<std::uint64_t>(signal.sampleRate * 1000 + 0.5))
{
}

std::uint64_t RecordingTrack::next() const
{
    return hasBegun ? m_start + timeOfIndex(m_count, rate) : 0;
}

void RecordingTrack::setRate(std::uint64_t millihertz)
{
    if (hasBegun && millihertz != rate) {
        m_start = next();
        m_count = 0;
    }
    rate = millihertz;
}

bool RecordingTrack::goesOnAt(std::uint64_t time) const
{
    // Half a sample early or late is rounding, not a loss.
    const std::uint64_t half = timeOfIndex(1, rate) / 2;
    return hasBegun && time <= next() + half && time + half >= next();
}

void RecordingTrack::countFrom(std::uint64_t time, std::uint64_t origin)
{
    const auto index =
        time < origin
            ? 0
            : static_cast<std::uint64_t>(std::floor(samplesIn(time - origin, rate) + 0.5));
    const std::uint64_t together = origin + timeOfIndex(index, rate);
    const bool isTogether = std::max(together, time) - std::min(together, time) <= kRounding;
    m_start = isTogether ? origin : time;
    m_count = isTogether ? index : 0;
    first = hasBegun ? first : m_start + timeOfIndex(m_count, rate);
    hasBegun = true;
}

void RecordingTrack::place(std::vector<Sample>& samples)
{
    for (Sample& sample : samples)
        sample.time = m_start + timeOfIndex(m_count++, rate);
}

void RecordingTrack::watch(bool isAnyWaiting, std::uint64_t newestWaiting, bool hasMore)
{
    const auto now = Clock::now();
    const bool blocks = isEven && !isLate && isAnyWaiting && newestWaiting >= next();
    if (!blocks || m_blocksAt != next()) {
        m_blocksAt = next();
        m_blocksSince = now;
    } else if (!hasMore && now - m_blocksSince >= kLongestWait) {
        isLate = true;
    }
}

} // namespace zel::cli
