#pragma once

#include <chrono>
#include <cstdint>

namespace zel::acquisition {

/// The time by which a sink sees how long samples have waited for others: that of the receipt of
/// batches. It stands still while the disk keeps the sink waiting, so nobody is late for that.
class ReceiptTime {
public:
    /// A batch is about to be taken; it may be refused then.
    void called() { m_calledAt = Clock::now(); }
    /// It was received at this time by the host's clock, which may be set; 0: nobody received it.
    void pass(std::uint64_t receivedAt);
    /// Nothing has come since the last call: what waits does so for as long.
    void idle();

    /// Nanoseconds; never goes back.
    std::uint64_t now() const { return m_now; }

private:
    using Clock = std::chrono::steady_clock;

    std::uint64_t m_now = 0;
    std::uint64_t m_receivedAt = 0; // of the newest batch
    Clock::time_point m_calledAt = Clock::now();
};

} // namespace zel::acquisition
