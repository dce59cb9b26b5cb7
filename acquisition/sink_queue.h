#pragma once

#include "sink.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace zel::acquisition {

/// A sink on a thread of its own, with the batches that wait for it. A sink that is too slow, or
/// whose disk is full, holds up nobody: what does not fit its queue is missing in its recording
/// only, as a gap.
class SinkQueue {
public:
    /// `capacity`: bytes that may wait.
    SinkQueue(std::unique_ptr<iSink> sink, std::size_t capacity);
    /// Without finish() the recording is broken off.
    ~SinkQueue();
    SinkQueue(const SinkQueue&) = delete;
    SinkQueue& operator=(const SinkQueue&) = delete;

    /// Any thread; the batches of one module in their order. Does not wait.
    void push(SharedBatch batch);

    /// Writes what waits, as far as there is room on the disk, closes the recording and ends the
    /// thread. Waits for that. Throws SinkFailure when the recording is not whole on the disk.
    void finish(const std::string& cause);

    struct State {
        std::uint64_t samples = 0; ///< taken by the sink
        std::uint64_t missing = 0; ///< samples in gaps, the modules' own too
        std::uint64_t gaps = 0;
        std::uint64_t bytes = 0;   ///< written
        std::size_t waiting = 0;   ///< bytes in the queue
        bool isDiskFull = false;
        bool isReaderGone = false; ///< nobody reads any more what goes to a pipe
        std::string failure; ///< why the sink has ended; empty while it goes on
    };
    State state() const;
    std::string name() const { return m_name; }

private:
    void run();
    bool step();
    bool write(const Batch& batch);
    void flushInTime();
    void end();
    void fail(const std::string& why);

    void loseLocked(const Batch& batch);
    void queueLostLocked(std::size_t module);

    using Clock = std::chrono::steady_clock;

    // the sink's thread, once it runs
    std::unique_ptr<iSink> m_sink;
    Clock::time_point m_flushedAt;

    const std::string m_name;
    const std::size_t m_capacity;

    mutable std::mutex m_mutex;
    std::condition_variable m_condition;
    // under m_mutex
    std::deque<SharedBatch> m_waiting;
    std::size_t m_waitingBytes = 0;
    std::map<std::size_t, std::map<std::size_t, Gap>> m_lost; // by module, then by signal
    State m_state;
    bool m_mustEnd = false;
    std::string m_cause; // of the end

    std::thread m_thread;
};

} // namespace zel::acquisition
