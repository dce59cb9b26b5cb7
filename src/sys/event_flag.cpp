#include "event_flag.h"

#include "logger.h"
#include "spinning_lock.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace zel::sys {

namespace {

constexpr std::chrono::microseconds kLookingTime{50};
constexpr int kMaxCredit = 16;
constexpr unsigned kTryEvery = 32;

/// Decides who may look instead of sleeping: never more threads than there are processors to
/// spare, and only now and then after looking was in vain.
class LookingPermit {
public:
    LookingPermit()
    {
        static const int processors = static_cast<int>(std::thread::hardware_concurrency());
        if (s_credit.load(std::memory_order_relaxed) <= 0 &&
            s_refused.fetch_add(1, std::memory_order_relaxed) % kTryEvery != 0)
            return;
        m_isGranted = s_looking.fetch_add(1) < processors - 1;
        if (!m_isGranted)
            s_looking.fetch_sub(1);
    }
    ~LookingPermit()
    {
        if (m_isGranted)
            s_looking.fetch_sub(1);
    }
    LookingPermit(const LookingPermit&) = delete;
    LookingPermit& operator=(const LookingPermit&) = delete;

    bool isGranted() const { return m_isGranted; }

    static void learn(bool paid)
    {
        const int credit = s_credit.load(std::memory_order_relaxed);
        s_credit.store(std::clamp(credit + (paid ? 1 : -2), 0, kMaxCredit),
                       std::memory_order_relaxed);
    }

private:
    static inline std::atomic<int> s_looking = 0;
    static inline std::atomic<int> s_credit = kMaxCredit;
    static inline std::atomic<unsigned> s_refused = 0;

    bool m_isGranted = false;
};

bool looksLongEnough(const EventFlag& flag)
{
    const LookingPermit permit;
    if (!permit.isGranted())
        return false;
    const auto until = std::chrono::steady_clock::now() + kLookingTime;
    do {
        for (int i = 0; i < 32; ++i) {
            if (flag.isSet()) {
                LookingPermit::learn(true);
                return true;
            }
            relaxProcessor();
        }
    } while (std::chrono::steady_clock::now() < until);
    LookingPermit::learn(false);
    return false;
}

} // namespace

void EventFlag::set()
{
    const std::lock_guard lock{m_mutex};
    m_isSet.store(true, std::memory_order_release);
    m_condition.notify_all();
}

void EventFlag::wait()
{
    looksLongEnough(*this);
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
