#include "event_flag.h"

#include "logger.h"
#include "looking_permit.h"

#include <chrono>

namespace zel::sys {

void EventFlag::set()
{
    const std::lock_guard lock{m_mutex};
    m_isSet.store(true, std::memory_order_release);
    m_condition.notify_all();
}

void EventFlag::wait()
{
    if (const LookingPermit permit; permit.isGranted())
        permit.look([this] { return isSet(); });
    // Also after the flag was seen: the setter must be out of set() before a waiter may go on and
    // destroy the flag.
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
