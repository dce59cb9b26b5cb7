#include "hdf5_track.h"

#include <algorithm>
#include <ranges>

namespace zel::acquisition::hdf5 {

namespace {

constexpr std::size_t kTimesAhead = 4096;

/// Room for so many bytes at the end of the batch, where any value may lie.
std::size_t makeRoom(Batch& batch, std::size_t bytes)
{
    const std::size_t begin = (batch.bytes.size() + 7) / 8 * 8;
    batch.bytes.resize(begin + bytes);
    return begin;
}

} // namespace

Track::Track(const Content& content, std::size_t signal)
    : m_content(content), m_part(content.signals[signal]), m_signal(signal),
      m_isEven(content.setup.signals[signal].isEven),
      m_valueSize(sizeOf(content.setup.signals[signal].type)),
      m_first(content.totals[signal].firstIndex), m_end(content.totals[signal].endIndex),
      m_index(m_first)
{
    m_time = timeOfNext();
}

const Gap* Track::nextGap() const
{
    return m_gap < m_part.gaps.size() ? &m_content.gaps[m_part.gaps[m_gap]] : nullptr;
}

std::uint64_t Track::timeOfNext()
{
    const Gap* const gap = nextGap();
    if (gap != nullptr && (gap->index <= m_index || m_index >= m_end))
        return std::min(gap->begin, kNever - 1);
    return m_index < m_end ? std::min(timeAt(0), kNever - 1) : kNever;
}

/// Of the so many-th sample from here on, on the line that the next one is on.
std::uint64_t Track::timeAt(std::size_t sample)
{
    if (m_isEven) {
        const auto& lines = m_part.lines;
        while (m_line + 1 < lines.size() && lines[m_line + 1].firstIndex <= m_index)
            ++m_line;
        if (m_line >= lines.size() || lines[m_line].firstIndex > m_index)
            throw Failure("the file is damaged: samples without times", false);
        return lines[m_line].at(m_index + sample);
    }
    const std::uint64_t row = m_row + sample;
    if (row < m_timesBegin || row - m_timesBegin >= m_times.size()) {
        const std::uint64_t left = m_content.totals[m_signal].samples - std::min(row, m_content.totals[m_signal].samples);
        m_times.resize(static_cast<std::size_t>(std::min<std::uint64_t>(left, kTimesAhead)));
        if (m_times.empty())
            throw Failure("the file is damaged: samples without times", false);
        m_timesBegin = row;
        read(m_part.times, typeOf(ValueType::uint64), row, m_times.size(), m_times.data());
    }
    return m_times[static_cast<std::size_t>(row - m_timesBegin)];
}

void Track::take(Batch& batch, std::uint64_t until)
{
    for (std::size_t room = kMostSamples; room != 0 && m_time < until; m_time = timeOfNext()) {
        const Gap* const gap = nextGap();
        if (gap != nullptr && (gap->index <= m_index || m_index >= m_end))
            takeGap(batch);
        else
            room -= takeSamples(batch, until, room);
    }
}

void Track::takeGap(Batch& batch)
{
    const Gap& gap = *nextGap();
    ++m_gap;
    batch.gaps.push_back(gap);
    m_index = std::clamp(gap.index + gap.count, m_index, std::max(m_index, m_end));
}

/// Where the samples that follow each other without a gap, and on one line, end.
std::uint64_t Track::endOfRun()
{
    std::uint64_t end = m_end;
    if (const Gap* const gap = nextGap(); gap != nullptr)
        end = std::min(end, gap->index);
    if (m_line + 1 < m_part.lines.size())
        end = std::min(end, m_part.lines[m_line + 1].firstIndex);
    return end;
}

std::size_t Track::countUntil(std::uint64_t until, std::size_t most)
{
    const auto samples = std::views::iota(std::size_t{0}, most);
    if (m_isEven) {
        const auto end = std::ranges::partition_point(
            samples, [&](std::size_t sample) { return timeAt(sample) < until; });
        return static_cast<std::size_t>(end - samples.begin());
    }
    // One after the other: they are as the module sent them.
    const auto end = std::ranges::find_if(
        samples, [&](std::size_t sample) { return timeAt(sample) >= until; });
    return static_cast<std::size_t>(end - samples.begin());
}

std::size_t Track::takeSamples(Batch& batch, std::uint64_t until, std::size_t most)
{
    const std::uint64_t run = std::max(endOfRun(), m_index + 1) - m_index;
    const std::size_t count = std::max<std::size_t>(
        countUntil(until, static_cast<std::size_t>(std::min<std::uint64_t>(run, most))), 1);
    Chunk chunk;
    chunk.signal = m_signal;
    chunk.index = m_index;
    chunk.count = count;
    if (m_isEven) {
        m_row = m_index - m_first;
        chunk.line = m_part.lines[m_line];
    } else {
        // The times that are in memory may be others by now.
        chunk.times = makeRoom(batch, count * sizeof(std::uint64_t));
        read(m_part.times, typeOf(ValueType::uint64), m_row, count, batch.bytes.data() + chunk.times);
    }
    chunk.values = makeRoom(batch, count * m_valueSize);
    read(m_part.values, typeOf(m_content.setup.signals[m_signal].type), m_row, count,
         batch.bytes.data() + chunk.values);
    batch.chunks.push_back(chunk);
    m_index += count;
    m_row += count;
    return count;
}

} // namespace zel::acquisition::hdf5
