#include "looking_permit.h"

#include "process_wide.h"

#include <algorithm>
#include <atomic>
#include <thread>

namespace zel::sys {

namespace {

constexpr int kMaxCredit = 16;
constexpr unsigned kTryEvery = 32;

struct Permits {
    const int processors = static_cast<int>(std::thread::hardware_concurrency());
    std::atomic<int> looking = 0;
    std::atomic<int> credit = kMaxCredit;
    std::atomic<unsigned> refused = 0;
};

Permits& permits()
{
    static constinit ProcessWide<Permits> instance;
    return *instance;
}

} // namespace

LookingPermit::LookingPermit()
{
    Permits& all = permits();
    if (all.credit.load(std::memory_order_relaxed) <= 0 &&
        all.refused.fetch_add(1, std::memory_order_relaxed) % kTryEvery != 0)
        return;
    m_isGranted = all.looking.fetch_add(1) < all.processors - 1;
    if (!m_isGranted)
        all.looking.fetch_sub(1);
}

LookingPermit::~LookingPermit()
{
    if (m_isGranted)
        permits().looking.fetch_sub(1);
}

void LookingPermit::learn(bool paid)
{
    std::atomic<int>& credit = permits().credit;
    credit.store(
        std::clamp(credit.load(std::memory_order_relaxed) + (paid ? 1 : -2), 0, kMaxCredit),
        std::memory_order_relaxed);
}

} // namespace zel::sys
