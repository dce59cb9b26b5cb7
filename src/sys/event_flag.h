#pragma once

#include "mutex.h"

#include <atomic>
#include <cstdint>

namespace zel::sys {

/// A flag that one thread sets and others wait for. Whoever sets or wakes it keeps it
/// alive until that call has returned, though a waiter may go on earlier.
class EventFlag {
public:
    void set();
    void wait();
    /// Until it is set or somebody calls wake().
    void waitOrWoken();
    void wake();
    /// True when the flag was set, false when the time ran out.
    bool waitFor(std::uint32_t milliseconds);
    bool isSet() const { return m_isSet.load(std::memory_order_acquire); }

private:
    Mutex m_mutex;
    ConditionVariable m_condition;
    std::atomic<bool> m_isSet = false; // written under m_mutex
    bool m_isWoken = false;            // under m_mutex
};

} // namespace zel::sys
