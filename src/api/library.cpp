#include "library.h"

#include "host_facts.h"
#include "process_wide.h"
#include "system_manager.h"
#include "wsa.h"

#include <atomic>
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

/// A forked child has its parent's manager, but not its threads; ending the connections would end
/// them for the parent.
void abandonAnotherProcess(const Starter& start)
{
    if (manager() != nullptr && start.process != processId())
        abandonLibrary();
}

} // namespace

clSystemMgr* manager()
{
    return g_manager.load(std::memory_order_acquire);
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

void abandonLibrary()
{
    g_abandoned.store(g_manager.exchange(nullptr));
}

} // namespace zel
