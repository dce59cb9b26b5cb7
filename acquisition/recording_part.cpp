#include "recording_part.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace zel::acquisition {

namespace {

std::uint64_t endOf(const Batch& batch, const Chunk& chunk)
{
    return chunk.line.rate != 0 ? chunk.line.at(chunk.index + chunk.count)
                                : batch.timeOf(chunk, chunk.count - 1) + 1;
}

/// The first sample of the chunk that is not before the time.
std::size_t firstFrom(const Batch& batch, const Chunk& chunk, std::uint64_t time)
{
    std::size_t low = 0;
    std::size_t high = chunk.count;
    while (low < high) {
        const std::size_t middle = low + (high - low) / 2;
        if (batch.timeOf(chunk, middle) < time)
            low = middle + 1;
        else
            high = middle;
    }
    return low;
}

/// What a window leaves of a gap.
Gap clipped(Gap gap, const RecordingPart::Window& window)
{
    const std::uint64_t begin = std::max(gap.begin, window.from);
    const std::uint64_t end = std::min(gap.end, window.to);
    if (begin == gap.begin && end == gap.end)
        return gap;
    const double share = begin < end ? static_cast<double>(end - begin) /
                                           static_cast<double>(gap.end - gap.begin)
                                     : 0;
    const auto count = static_cast<std::uint64_t>(
        std::ceil(share * static_cast<double>(gap.count) - 1.0 / 16));
    if (begin > gap.begin)
        gap.index += gap.count - count;
    gap.begin = begin;
    gap.end = end;
    gap.count = count;
    return gap;
}

} // namespace

RecordingPart::RecordingPart(const Setup& setup, std::vector<Window> windows,
                             std::vector<std::unique_ptr<iSink>> sinks, std::size_t memory)
    : m_setup(setup), m_windows(std::move(windows)), m_progress(setup.signals.size())
{
    for (std::unique_ptr<iSink>& sink : sinks)
        m_sinks.push_back(std::make_unique<SinkQueue>(std::move(sink), memory));
}

bool RecordingPart::isWithin(const Batch& batch, const Window& window)
{
    return std::ranges::all_of(batch.chunks,
                               [&](const Chunk& chunk) {
                                   return batch.timeOf(chunk, 0) >= window.from &&
                                          batch.timeOf(chunk, chunk.count - 1) < window.to;
                               }) &&
           std::ranges::all_of(batch.gaps, [&](const Gap& gap) {
               return gap.begin >= window.from && gap.end <= window.to;
           });
}

void RecordingPart::take(const SharedBatch& batch)
{
    const Window& window = m_windows[batch->module];
    // Nearly all batches belong to a recording as they are.
    push(isWithin(*batch, window) ? batch : cut(*batch, window));
}

SharedBatch RecordingPart::cut(const Batch& batch, const Window& window) const
{
    auto result = std::make_shared<Batch>();
    result->module = batch.module;
    result->receivedAt = batch.receivedAt;
    result->clock = batch.clock;
    for (const Gap& gap : batch.gaps) {
        const bool isOutside = gap.begin >= window.to || gap.end <= window.from;
        const bool isOfClock = gap.cause == Cause::clockSet || gap.cause == Cause::restart;
        // A clock that was set back turns the times of a gap around.
        if (isOfClock && gap.end < window.to)
            result->gaps.push_back(gap);
        else if (!isOutside && !isOfClock)
            result->gaps.push_back(clipped(gap, window));
    }
    for (Chunk chunk : batch.chunks) {
        const std::size_t first = firstFrom(batch, chunk, window.from);
        const std::size_t last = firstFrom(batch, chunk, window.to);
        if (first >= last)
            continue;
        chunk.index += first;
        chunk.count = last - first;
        chunk.values += first * sizeOf(m_setup.signals[chunk.signal].type);
        chunk.times += first * sizeof(std::uint64_t);
        result->chunks.push_back(chunk);
    }
    if (!result->chunks.empty())
        result->bytes = batch.bytes;
    return result;
}

void RecordingPart::push(const SharedBatch& batch)
{
    if (batch->chunks.empty() && batch->gaps.empty())
        return;
    for (const Gap& gap : batch->gaps) {
        Progress& progress = m_progress[gap.signal];
        if (gap.index + gap.count >= progress.nextIndex) {
            progress.nextIndex = gap.index + gap.count;
            progress.nextTime = gap.end;
            progress.hasBegun = true;
        }
        m_totals.missing += gap.count;
        ++m_totals.gaps;
    }
    for (const Chunk& chunk : batch->chunks) {
        Progress& progress = m_progress[chunk.signal];
        const std::uint64_t first = batch->timeOf(chunk, 0);
        progress = {true, chunk.index + chunk.count, endOf(*batch, chunk), chunk.line.rate};
        m_totals.samples += chunk.count;
        m_totals.first = m_totals.first == 0 ? first : std::min(m_totals.first, first);
        m_totals.last =
            std::max(m_totals.last, batch->timeOf(chunk, chunk.count - 1));
    }
    for (const auto& sink : m_sinks)
        sink->push(batch);
}

void RecordingPart::limit(std::size_t module, std::uint64_t to)
{
    m_windows[module].to = std::min(m_windows[module].to, to);
}

std::uint64_t RecordingPart::nextTime(std::size_t module) const
{
    std::uint64_t next = 0;
    for (std::size_t i = 0; i < m_progress.size(); ++i)
        if (m_setup.signals[i].module == module && m_setup.signals[i].isEven)
            next = std::max(next, m_progress[i].nextTime);
    return next;
}

bool RecordingPart::isComplete(std::size_t module) const
{
    for (std::size_t i = 0; i < m_progress.size(); ++i) {
        const SignalInfo& signal = m_setup.signals[i];
        if (signal.module == module && signal.isEven &&
            (!m_progress[i].hasBegun || m_progress[i].nextTime < m_windows[module].to))
            return false;
    }
    return true;
}

void RecordingPart::noteMissingEnd(std::size_t module, Cause cause)
{
    const std::uint64_t to = m_windows[module].to;
    if (to == kOpen)
        return;
    auto batch = std::make_shared<Batch>();
    batch->module = module;
    for (std::size_t i = 0; i < m_progress.size(); ++i) {
        Progress progress = m_progress[i];
        if (!progress.hasBegun)
            progress.nextTime = m_windows[module].from;
        const SignalInfo& signal = m_setup.signals[i];
        if (signal.module != module || !signal.isEven || progress.nextTime >= to)
            continue;
        const std::uint64_t rate = progress.rate != 0 ? progress.rate : signal.rate;
        // All that would have begun before the end.
        const auto count = static_cast<std::uint64_t>(
            std::ceil(static_cast<double>(to - progress.nextTime) * static_cast<double>(rate) /
                          1e12 -
                      1.0 / 16));
        if (count > 0)
            batch->gaps.push_back({i, progress.nextIndex, count, progress.nextTime, to, cause});
    }
    push(batch);
}

std::string RecordingPart::finish(const std::string& cause)
{
    std::string problems;
    for (const auto& sink : m_sinks) {
        try {
            sink->finish(cause);
        } catch (const SinkFailure& failure) {
            problems += (problems.empty() ? "" : "; ") + std::string{failure.what()};
        }
    }
    return problems;
}

} // namespace zel::acquisition
