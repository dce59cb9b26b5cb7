#include "timer.h"

#include "event_loop.h"

namespace zel::sys {

Timer::Timer(EventLoop& loop) : m_queue(loop.timers()) {}

Timer::~Timer()
{
    stop();
}

void Timer::set(std::uint32_t milliseconds, bool repeat, Callback callback)
{
    stop();
    m_callback = std::move(callback);
    m_period = std::chrono::milliseconds{repeat ? milliseconds : 0};
    restart(milliseconds);
}

void Timer::restart(std::uint32_t milliseconds)
{
    m_queue.arm(*this, TimerQueue::Clock::now() + std::chrono::milliseconds{milliseconds});
}

void Timer::cancel()
{
    stop();
    if (m_callback)
        m_callback(false);
}

void Timer::stop()
{
    m_queue.disarm(*this);
}

} // namespace zel::sys
