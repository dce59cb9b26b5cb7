#include "event_flag.h"

#include "logger.h"

#include <chrono>

namespace zel::sys {

void EventFlag::set()
{
    {
        const std::lock_guard lock{m_mutex};
        m_isSet.store(true, std::memory_order_release);
    }
    // Without the lock, which the woken thread needs.
    m_condition.notify_all();
}

void EventFlag::wake()
{
    {
        const std::lock_guard lock{m_mutex};
        m_isWoken = true;
    }
    m_condition.notify_all();
}

void EventFlag::waitOrWoken()
{
    std::unique_lock lock{m_mutex};
    m_condition.wait(lock, [this] { return isSet() || m_isWoken; });
    m_isWoken = false;
}

void EventFlag::wait()
{
    if (isSet())
        return;
    std::unique_lock lock{m_mutex};
    m_condition.wait(lock, [this] { return isSet(); });
}

bool EventFlag::waitFor(std::uint32_t milliseconds)
{
    std::unique_lock lock{m_mutex};
    if (m_condition.wait_for(lock, std::chrono::milliseconds{milliseconds},
                             [this] { return isSet(); }))
        return true;
    logger().write(LogLevel::warning, LogCategory::transactions,
                   "Time out while waiting for event flag!");
    return false;
}

} // namespace zel::sys
