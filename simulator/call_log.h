#pragma once

#include "method_call.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <vector>

namespace zel::simulator {

/// The requests that a module got, oldest first; the oldest make room when it holds too much.
/// All functions may be called from any thread.
class CallLog {
public:
    CallLog(std::size_t mostCalls, std::size_t mostBytes);

    void add(ReceivedCall call);
    std::vector<ReceivedCall> all() const;
    void clear();
    /// Waits until `count` requests have come in since the last clear().
    bool waitFor(std::size_t count, milliseconds time) const;

private:
    const std::size_t m_mostCalls;
    const std::size_t m_mostBytes;

    mutable std::mutex m_mutex; // guards what follows
    mutable std::condition_variable m_changed;
    std::deque<ReceivedCall> m_calls;
    std::size_t m_bytes = 0;
    std::size_t m_count = 0;
};

} // namespace zel::simulator
