#pragma once

#include "mutex.h"

#include <atomic>
#include <cstdint>

namespace zel::sys {

/// A flag that one thread sets and others wait for. A waiter first looks for it for some
/// microseconds when that paid lately and a processor is left over: waking a sleeping thread costs
/// about as much as a whole round trip in a local network.
class EventFlag {
public:
    void set();
    void wait();
    /// True when the flag was set, false when the time ran out.
    bool waitFor(std::uint32_t milliseconds);
    bool isSet() const { return m_isSet.load(std::memory_order_acquire); }

private:
    Mutex m_mutex;
    ConditionVariable m_condition;
    std::atomic<bool> m_isSet = false; // written under m_mutex
};

} // namespace zel::sys
