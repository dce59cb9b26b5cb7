#include "library.h"

#include "process_wide.h"
#include "system_manager.h"
#include "wsa.h"

#include <atomic>
#include <mutex>

namespace zel {

namespace {

// Written by startLibrary and stopLibrary, under the mutex.
std::atomic<clSystemMgr*> g_manager{nullptr};

struct Starter {
    std::mutex mutex;
    sys::clWsa wsa; // under mutex
};

Starter& starter()
{
    static ProcessWide<Starter> instance;
    return *instance;
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
    if (manager() != nullptr)
        return;
    start.wsa.startup();
    try {
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
    delete manager();
    g_manager.store(nullptr, std::memory_order_release);
    start.wsa.cleanup();
}

void abandonLibrary()
{
    g_manager.store(nullptr, std::memory_order_relaxed);
}

} // namespace zel
