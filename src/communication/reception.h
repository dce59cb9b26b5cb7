#pragma once

#include "event_flag.h"
#include "event_loop.h"
#include "spin_budget.h"

#include <atomic>

namespace zel::communication {

/// Who receives on one connection: the event loop's thread or, while threads wait for answers that
/// come on it, one of them for all. A thread that takes its answer from the system itself need not
/// be woken by another, which would cost about as much as the round trip in a local network.
class Reception {
public:
    explicit Reception(sys::EventLoop& loop) : m_loop(loop) {}
    Reception(const Reception&) = delete;
    Reception& operator=(const Reception&) = delete;

    /// One thread's wait for a flag, from before it sends what will be answered. Not inside a
    /// callback, and without any lock.
    class Wait {
    public:
        /// Receives from now on, unless another thread does or the system does not let it.
        Wait(Reception& reception, const sys::Event& event, sys::EventFlag& flag);
        ~Wait() { end(); }
        Wait(const Wait&) = delete;
        Wait& operator=(const Wait&) = delete;

        /// Receives whatever comes, for whomever, or sleeps, until the flag is set.
        void untilSet();
        /// Lets another thread that waits receive, or else the loop's.
        void end();

    private:
        friend class Reception;

        Reception& m_reception;
        const sys::Event m_event;
        sys::EventFlag& m_flag;
        const sys::SpinBudget m_budget;
        std::atomic<bool> m_isReceiver = false; // set under m_reception.m_mutex
        bool m_isBehindAnother = false;
        // under m_reception.m_mutex
        bool m_isListed = false;
        Wait* m_older = nullptr;
        Wait* m_newer = nullptr;
    };

    /// Whether a thread receives, which asks the system again before it stops.
    bool isLent() const { return m_isLent.load(); }

private:
    void endLoan();
    void listLocked(Wait& wait);
    void unlistLocked(Wait& wait);

    sys::EventLoop& m_loop;

    // Cleared before the loop is asked to watch the connection again, so that this request comes
    // after every callback that stopped early because the connection was lent.
    std::atomic<bool> m_isLent = false;
    std::atomic<bool> m_hasReceiver = false; // or one that just asks the loop; set under m_mutex

    // under m_mutex
    Mutex m_mutex;
    Wait* m_newest = nullptr; // of those that wait while another one receives
};

} // namespace zel::communication
