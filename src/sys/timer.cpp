#include "timer.h"

#include "event_loop.h"

namespace zel::sys {

Timer::Timer(EventLoop& loop) : m_queue(loop.timers()) {}

void Timer::prepare(Callback callback)
{
    stop();
    if (!m_place)
        m_place = TimerQueue::makePlace(*this);
    m_callback = std::make_shared<const Callback>(std::move(callback));
}

void Timer::set(std::uint32_t milliseconds, Callback callback, std::shared_ptr<void> held)
{
    prepare(std::move(callback));
    m_held = std::move(held);
    restart(milliseconds);
}

void Timer::restart(std::uint32_t milliseconds)
{
    m_queue.arm(*this, TimerQueue::Clock::now() + std::chrono::milliseconds{milliseconds});
}

} // namespace zel::sys
