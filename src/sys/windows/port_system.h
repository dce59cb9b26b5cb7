#pragma once

#include <atomic>
#include <cstdint>
#include <system_error>

namespace zel::sys {

/// What the port is here: a completion port.
class PortSystem {
public:
    PortSystem();
    ~PortSystem();
    PortSystem(const PortSystem&) = delete;
    PortSystem& operator=(const PortSystem&) = delete;

    /// Why there is nothing to wait on; empty where there is.
    std::error_code failure() const { return m_failure; }
    /// Lets the event's callback be called.
    void postEvent(std::uint64_t id);
    /// Overlapped operations whose completion has not come out of the port yet.
    std::atomic<int>& operationsUnderWay() { return m_operationsUnderWay; }

protected:
    std::error_code m_failure;
    void* m_port = nullptr;
    std::atomic<int> m_operationsUnderWay = 0;
};

} // namespace zel::sys
