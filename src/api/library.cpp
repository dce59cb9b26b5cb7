#include "library.h"

#include "host_facts.h"
#include "process_wide.h"
#include "system_manager.h"
#include "wsa.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>

namespace zel {

namespace {

// Written by startLibrary and stopLibrary, under the mutex.
std::atomic<clSystemMgr*> g_manager{nullptr};
// Left to the end of the process.
std::atomic<clSystemMgr*> g_abandoned{nullptr};

struct Starter {
    std::mutex mutex;

    // under mutex
    sys::clWsa wsa;
    std::uint32_t process = 0; // that has started the manager
};

Starter& starter()
{
    static ProcessWide<Starter> instance;
    return *instance;
}

// Threads that call at the same time should not fight for one counter.
struct alignas(64) Counter {
    std::atomic<int> calls{0};
};
std::array<Counter, 16> g_callsInside;

/// Threads have stacks far from each other.
Counter& counterFor(const void* onStack)
{
    const auto address = reinterpret_cast<std::uintptr_t>(onStack);
    return g_callsInside[(address >> 20 ^ address >> 24) % g_callsInside.size()];
}

bool isInUse()
{
    return std::ranges::any_of(g_callsInside,
                               [](const Counter& counter) { return counter.calls.load() != 0; });
}

/// A forked child has its parent's manager, but not its threads; ending the connections would end
/// them for the parent.
void abandonAnotherProcess(const Starter& start)
{
    if (manager() != nullptr && start.process != processId())
        abandonLibrary();
}

} // namespace

CallInside::CallInside() : m_count(counterFor(this).calls)
{
    m_count.fetch_add(1);
}

clSystemMgr* manager()
{
    return g_manager.load();
}

void startLibrary()
{
    Starter& start = starter();
    const std::lock_guard lock(start.mutex);
    abandonAnotherProcess(start);
    if (manager() != nullptr)
        return;
    start.wsa.startup();
    try {
        start.process = processId();
        g_manager.store(new clSystemMgr, std::memory_order_release);
    } catch (...) {
        start.wsa.cleanup();
        throw;
    }
}

void stopLibrary()
{
    Starter& start = starter();
    const std::lock_guard lock(start.mutex);
    abandonAnotherProcess(start);
    delete manager();
    g_manager.store(nullptr, std::memory_order_release);
    start.wsa.cleanup();
}

void stopLibraryUnlessInUse() noexcept
{
    Starter& start = starter();
    const std::unique_lock lock(start.mutex, std::try_to_lock);
    // Whoever has the lock is starting or stopping the library right now.
    if (!lock)
        return;
    abandonAnotherProcess(start);
    // Whoever comes from now on finds the library stopped; who has come before is counted.
    clSystemMgr* const mgr = g_manager.exchange(nullptr);
    if (isInUse())
        g_abandoned.store(mgr);
    else
        delete mgr;
    start.wsa.cleanup();
}

void abandonLibrary()
{
    g_abandoned.store(g_manager.exchange(nullptr));
}

} // namespace zel
