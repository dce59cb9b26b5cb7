#include "looking_permit.h"

#include <algorithm>
#include <atomic>
#include <thread>

namespace zel::sys {

namespace {

constexpr int kMaxCredit = 16;
constexpr unsigned kTryEvery = 32;

std::atomic<int> g_looking = 0;
std::atomic<int> g_credit = kMaxCredit;
std::atomic<unsigned> g_refused = 0;

} // namespace

LookingPermit::LookingPermit()
{
    static const int processors = static_cast<int>(std::thread::hardware_concurrency());
    if (g_credit.load(std::memory_order_relaxed) <= 0 &&
        g_refused.fetch_add(1, std::memory_order_relaxed) % kTryEvery != 0)
        return;
    m_isGranted = g_looking.fetch_add(1) < processors - 1;
    if (!m_isGranted)
        g_looking.fetch_sub(1);
}

LookingPermit::~LookingPermit()
{
    if (m_isGranted)
        g_looking.fetch_sub(1);
}

void LookingPermit::learn(bool paid)
{
    const int credit = g_credit.load(std::memory_order_relaxed);
    g_credit.store(std::clamp(credit + (paid ? 1 : -2), 0, kMaxCredit), std::memory_order_relaxed);
}

} // namespace zel::sys
