#pragma once

#include "mutex.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <thread>

namespace zel::sys {

class Timer;

/// The timers of one event loop, ordered by deadline. There is no system timer behind them: the
/// loop bounds its wait by wakeAt(), so no foreign thread ever runs code of the library.
class TimerQueue {
public:
    using Clock = std::chrono::steady_clock;
    using Callback = std::function<void()>;

    /// `wake` makes a waiting loop look at wakeAt() again.
    explicit TimerQueue(std::function<void()> wake);

    /// When the loop must come back at the latest; nothing when no timer asks for it.
    std::optional<Clock::time_point> wakeAt() const;
    /// Loop thread only: calls back what is due.
    void runDue();

private:
    friend class Timer;

    struct Due {
        std::shared_ptr<const Callback> callback;
        std::shared_ptr<void> held;
    };
    struct Earlier {
        bool operator()(const Timer* a, const Timer* b) const;
    };
    using Armed = std::set<Timer*, Earlier>;
    /// A timer's own, in the order of all or with the timer: only making it needs memory.
    using Place = Armed::node_type;

    static Place makePlace(Timer& timer);
    void arm(Timer& timer, Clock::time_point deadline);
    void disarm(Timer& timer);
    void letGo(Timer& timer);
    bool isArmed(const Timer& timer) const;
    void removeLocked(Timer& timer);
    /// The next timer that is due is firing from now on: its callback, and what that works on.
    std::optional<Due> takeDue(Clock::time_point now);

    const std::function<void()> m_wake;

    // any thread, under m_mutex, which is a leaf lock
    mutable Mutex m_mutex;
    Armed m_armed;
    Timer* m_firing = nullptr;
    std::thread::id m_firingThread;
    ConditionVariable m_hasFired;
    // Left standing when its timer is cancelled: a steady stream of requests then never has to
    // wake the loop for the next timer, at the price of one idle wake-up after the last.
    std::optional<Clock::time_point> m_wakeAt;
};

} // namespace zel::sys
