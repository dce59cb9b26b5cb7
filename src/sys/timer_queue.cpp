#include "timer_queue.h"

#include "mutex.h"
#include "timer.h"

#include <exception>
#include <functional>

namespace zel::sys {

TimerQueue::TimerQueue(std::function<void()> wake) : m_wake(std::move(wake)) {}

bool TimerQueue::Earlier::operator()(const Timer* a, const Timer* b) const
{
    if (a->m_deadline != b->m_deadline)
        return a->m_deadline < b->m_deadline;
    return std::less<const Timer*>{}(a, b);
}

std::optional<TimerQueue::Clock::time_point> TimerQueue::wakeAt() const
{
    const std::lock_guard lock{m_mutex};
    return m_wakeAt;
}

TimerQueue::Place TimerQueue::makePlace(Timer& timer)
{
    Armed alone{&timer};
    return alone.extract(alone.begin());
}

void TimerQueue::arm(Timer& timer, Clock::time_point deadline)
{
    bool mustWake = false;
    {
        const std::lock_guard lock{m_mutex};
        if (timer.m_isBeingStopped)
            return;
        removeLocked(timer);
        timer.m_deadline = deadline;
        m_armed.insert(std::move(timer.m_place));
        timer.m_isArmed = true;
        if (!m_wakeAt || deadline < *m_wakeAt) {
            m_wakeAt = deadline;
            mustWake = true;
        }
    }
    if (mustWake)
        m_wake();
}

void TimerQueue::removeLocked(Timer& timer)
{
    if (!timer.m_isArmed)
        return;
    timer.m_place = m_armed.extract(&timer);
    timer.m_isArmed = false;
}

void TimerQueue::disarm(Timer& timer)
{
    std::unique_lock lock{m_mutex};
    removeLocked(timer);
    if (m_firing != &timer || m_firingThread == std::this_thread::get_id())
        return;
    timer.m_isBeingStopped = true;
    m_hasFired.wait(lock, [&] { return m_firing != &timer; });
    timer.m_isBeingStopped = false;
}

bool TimerQueue::isArmed(const Timer& timer) const
{
    const std::lock_guard lock{m_mutex};
    return timer.m_isArmed;
}

void TimerQueue::letGo(Timer& timer)
{
    std::shared_ptr<void> held; // goes after the lock
    const std::lock_guard lock{m_mutex};
    removeLocked(timer);
    held.swap(timer.m_held);
}

std::optional<TimerQueue::Due> TimerQueue::takeDue(Clock::time_point now)
{
    const std::lock_guard lock{m_mutex};
    if (m_armed.empty() || (*m_armed.begin())->m_deadline > now) {
        m_wakeAt = m_armed.empty() ? std::nullopt : std::optional{(*m_armed.begin())->m_deadline};
        return {};
    }
    Timer* const timer = *m_armed.begin();
    removeLocked(*timer);
    m_firing = timer;
    m_firingThread = std::this_thread::get_id();
    return Due{timer->m_callback, timer->m_held};
}

void TimerQueue::runDue()
{
    const Clock::time_point now = Clock::now();
    {
        const std::lock_guard lock{m_mutex};
        if (!m_wakeAt || *m_wakeAt > now)
            return;
    }
    for (;;) {
        // Held: the callback may set its own timer anew or destroy it.
        const auto due = takeDue(now);
        if (!due)
            return;
        try {
            (*due->callback)();
        } catch (const std::exception&) { // as with events
        }
        const std::lock_guard lock{m_mutex};
        m_firing = nullptr;
        m_hasFired.notify_all();
    }
}

} // namespace zel::sys
