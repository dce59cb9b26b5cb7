#include "sink_queue.h"

#include "output_file.h"

#include <algorithm>
#include <utility>

namespace zel::acquisition {

namespace {

constexpr std::chrono::milliseconds kFlushTime{500};
constexpr std::chrono::milliseconds kRetryTime{200};

void join(Gap& gap, const Gap& other)
{
    if (other.index < gap.index) {
        gap.index = other.index;
        gap.begin = other.begin;
    } else {
        gap.end = other.end;
    }
    gap.count += other.count;
}

} // namespace

SinkQueue::SinkQueue(std::unique_ptr<iSink> sink, std::size_t capacity)
    : m_sink(std::move(sink)),
      m_flushedAt(Clock::now()),
      m_name(m_sink->name()),
      m_capacity(capacity),
      m_thread([this] { run(); })
{
}

SinkQueue::~SinkQueue()
{
    try {
        finish("broken off");
    } catch (const SinkFailure&) {
        // Whoever wanted to know would have asked.
    }
}

void SinkQueue::push(SharedBatch batch)
{
    {
        const std::lock_guard lock{m_mutex};
        if (m_mustEnd || !m_state.failure.empty())
            return;
        const std::size_t size = batch->size();
        // What is lost goes on being lost until half of the queue is empty: a few long gaps
        // instead of many short ones.
        const bool isLosing = m_lost.contains(batch->module);
        const std::size_t capacity = isLosing ? m_capacity / 2 : m_capacity;
        if (!m_waiting.empty() && m_state.waiting + size > capacity) {
            loseLocked(*batch);
            return;
        }
        queueLostLocked(batch->module);
        m_state.waiting += size;
        m_waiting.push_back(std::move(batch));
    }
    m_condition.notify_one();
}

void SinkQueue::loseLocked(const Batch& batch)
{
    const Cause cause = m_state.isDiskFull ? Cause::noSpace : Cause::queue;
    auto& lost = m_lost[batch.module];
    const auto lose = [&](Gap gap) {
        gap.cause = cause;
        const auto [entry, isFirst] = lost.try_emplace(gap.signal, gap);
        if (!isFirst)
            join(entry->second, gap);
    };
    for (const Gap& gap : batch.gaps)
        lose(gap);
    for (const Chunk& chunk : batch.chunks) {
        const bool isEven = chunk.line.rate != 0;
        const std::uint64_t end = isEven ? chunk.line.at(chunk.index + chunk.count)
                                         : batch.timeOf(chunk, chunk.count - 1) + 1;
        lose({chunk.signal, chunk.index, chunk.count, batch.timeOf(chunk, 0), end, cause});
    }
}

/// What a module has lost here goes before what comes from it now. Takes hardly any memory.
void SinkQueue::queueLostLocked(std::size_t module)
{
    const auto found = m_lost.find(module);
    if (found == m_lost.end())
        return;
    auto batch = std::make_shared<Batch>();
    batch->module = module;
    for (const auto& [signal, gap] : found->second)
        batch->gaps.push_back(gap);
    m_lost.erase(found);
    m_state.waiting += batch->size();
    m_waiting.push_back(std::move(batch));
}

void SinkQueue::finish(const std::string& cause)
{
    {
        const std::lock_guard lock{m_mutex};
        if (!m_mustEnd)
            m_cause = cause;
        m_mustEnd = true;
    }
    m_condition.notify_one();
    if (m_thread.joinable())
        m_thread.join();
    const std::lock_guard lock{m_mutex};
    if (!m_state.failure.empty())
        throw SinkFailure(m_state.failure);
}

SinkQueue::State SinkQueue::state() const
{
    const std::lock_guard lock{m_mutex};
    return m_state;
}

void SinkQueue::run()
{
    try {
        while (step())
            flushInTime();
        end();
    } catch (const ReaderGone& gone) {
        {
            const std::lock_guard lock{m_mutex};
            m_state.isReaderGone = true;
        }
        fail(gone.what());
    } catch (const std::exception& error) { // no memory is an end like any other
        fail(error.what());
    }
    m_sink.reset();
}

/// Takes what is next; false when there is nothing more to do.
bool SinkQueue::step()
{
    SharedBatch batch;
    {
        std::unique_lock lock{m_mutex};
        m_condition.wait_until(lock, m_flushedAt + kFlushTime,
                               [this] { return m_mustEnd || !m_waiting.empty(); });
        if (m_mustEnd)
            while (!m_lost.empty())
                queueLostLocked(m_lost.begin()->first);
        if (m_waiting.empty())
            return !m_mustEnd;
        batch = m_waiting.front();
    }
    const bool isTaken = write(*batch);
    std::unique_lock lock{m_mutex};
    if (isTaken) {
        m_waiting.pop_front();
        m_state.waiting -= batch->size();
        return true;
    }
    // Others fill the queue meanwhile. At the end nobody waits for room.
    if (!m_mustEnd)
        m_condition.wait_for(lock, kRetryTime, [this] { return m_mustEnd; });
    return !m_mustEnd;
}

bool SinkQueue::write(const Batch& batch)
{
    const bool isTaken = m_sink->write(batch);
    const std::uint64_t bytes = m_sink->bytesWritten();
    const std::lock_guard lock{m_mutex};
    m_state.isDiskFull = !isTaken;
    m_state.bytes = bytes;
    if (isTaken) {
        for (const Chunk& chunk : batch.chunks)
            m_state.samples += chunk.count;
        for (const Gap& gap : batch.gaps)
            m_state.missing += gap.count;
        m_state.gaps += batch.gaps.size();
    }
    return isTaken;
}

void SinkQueue::flushInTime()
{
    const Clock::time_point now = Clock::now();
    if (now < m_flushedAt + kFlushTime)
        return;
    const bool hasRoom = m_sink->flush();
    m_flushedAt = now;
    const std::uint64_t bytes = m_sink->bytesWritten();
    const std::lock_guard lock{m_mutex};
    m_state.isDiskFull = !hasRoom;
    m_state.bytes = bytes;
}

void SinkQueue::end()
{
    std::string cause;
    std::uint64_t left = 0;
    {
        const std::lock_guard lock{m_mutex};
        cause = m_cause;
        for (const SharedBatch& batch : m_waiting)
            for (const Chunk& chunk : batch->chunks)
                left += chunk.count;
        m_state.missing += left;
    }
    if (left > 0)
        cause += (cause.empty() ? "" : "; ") + std::string{"the disk is full: the last "} +
                 std::to_string(left) + " samples are missing";
    m_sink->finish(cause);
    const std::uint64_t bytes = m_sink->bytesWritten();
    {
        const std::lock_guard lock{m_mutex};
        m_state.bytes = bytes;
    }
    if (left > 0)
        fail("the disk is full: the last " + std::to_string(left) + " samples are missing");
}

void SinkQueue::fail(const std::string& why)
{
    const std::lock_guard lock{m_mutex};
    m_state.failure = why;
    m_waiting.clear();
    m_lost.clear();
    m_state.waiting = 0;
}

} // namespace zel::acquisition
