#include "spin_budget.h"

#include "process_wide.h"

#include <algorithm>
#include <atomic>
#include <thread>

namespace zel::sys {

namespace {

constexpr int kMaxCredit = 16;
constexpr unsigned kTryEvery = 1024;

struct Waits {
    const bool hasProcessorToSpare = std::thread::hardware_concurrency() > 1;
    std::atomic<int> count = 0;
    std::atomic<int> credit = kMaxCredit;
    std::atomic<unsigned> refused = 0;
};

Waits& waits()
{
    static constinit ProcessWide<Waits> instance;
    return *instance;
}

} // namespace

SpinBudget::SpinBudget()
{
    waits().count.fetch_add(1, std::memory_order_relaxed);
}

SpinBudget::~SpinBudget()
{
    waits().count.fetch_sub(1, std::memory_order_relaxed);
}

bool SpinBudget::mayBegin()
{
    Waits& all = waits();
    return all.hasProcessorToSpare && isAlone() &&
           (all.credit.load(std::memory_order_relaxed) > 0 ||
            all.refused.fetch_add(1, std::memory_order_relaxed) % kTryEvery == 0);
}

bool SpinBudget::isAlone()
{
    return waits().count.load(std::memory_order_relaxed) == 1;
}

void SpinBudget::learn(bool paid)
{
    std::atomic<int>& credit = waits().credit;
    const int left = credit.load(std::memory_order_relaxed);
    credit.store(paid ? kMaxCredit : std::max(left - 4, 0), std::memory_order_relaxed);
}

} // namespace zel::sys
