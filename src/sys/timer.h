#pragma once

#include "timer_queue.h"

#include <memory>

namespace zel::sys {

class EventLoop;

/// A one-shot timer whose expiry runs on the event loop's thread.
/// One thread at a time may use a timer. After stop() or the destructor has returned, the
/// callback is not running (unless the caller is that callback) and will not run again.
class Timer {
public:
    using Callback = TimerQueue::Callback;

    explicit Timer(EventLoop& loop);
    ~Timer() { stop(); }
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    /// Stops counting and makes what is needed to call back: nothing else of a timer needs memory.
    void prepare(Callback callback);
    /// `held` is kept while the timer is set, and longer while the callback runs.
    void set(std::uint32_t milliseconds, Callback callback, std::shared_ptr<void> held = {});
    /// Starts counting again with the callback as it is.
    void restart(std::uint32_t milliseconds);
    /// Whether it counts. For a callback that had to wait for a lock, under which the timer may
    /// have been restarted meanwhile.
    bool isArmed() const { return m_queue.isArmed(*this); }
    /// Stops counting.
    void stop() { m_queue.disarm(*this); }
    /// The same without waiting for the callback, which may be running on another thread, or about
    /// to: for callbacks that work on what the timer held. On any thread.
    void letGo() { m_queue.letGo(*this); }

private:
    friend class TimerQueue;

    TimerQueue& m_queue;
    std::shared_ptr<const Callback> m_callback; // held while it runs

    // under the queue's mutex
    TimerQueue::Place m_place; // while it is prepared and not armed
    std::shared_ptr<void> m_held;
    bool m_isArmed = false;
    bool m_isBeingStopped = false; // by a thread that waits for the callback
    TimerQueue::Clock::time_point m_deadline{};
};

} // namespace zel::sys
