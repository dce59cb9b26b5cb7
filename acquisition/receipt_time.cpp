#include "receipt_time.h"

namespace zel::acquisition {

void ReceiptTime::pass(std::uint64_t receivedAt)
{
    constexpr std::uint64_t kSecond = 1'000'000'000;
    if (receivedAt == 0)
        return;
    if (receivedAt > m_receivedAt) {
        m_now += m_receivedAt > 0 ? receivedAt - m_receivedAt : 0;
        m_receivedAt = receivedAt;
    } else if (m_receivedAt - receivedAt > kSecond) {
        m_receivedAt = receivedAt; // batches of several modules come out of order by less
    }
}

void ReceiptTime::idle()
{
    const auto now = Clock::now();
    if (m_receivedAt > 0)
        m_now += static_cast<std::uint64_t>(std::chrono::nanoseconds(now - m_calledAt).count());
    m_calledAt = now;
}

} // namespace zel::acquisition
