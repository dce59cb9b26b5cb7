#include "library.h"

#include "cancellation.h"
#include "host_facts.h"
#include "last_error_stores.h"
#include "mutex.h"
#include "process_wide.h"
#include "requestor_registry.h"
#include "system_manager.h"
#include "wsa.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <new>
#include <system_error>

namespace zel {

namespace {

/// A forked child has one of its own, and nothing of its parent's: it does not have the threads
/// that belong to the manager, and ending the connections would end them for the parent.
struct Frame {
    Mutex mutex;

    // under mutex
    sys::clWsa wsa;
    std::uint32_t process = 0; // that has started the manager

    // written under mutex, read by any thread
    std::atomic<clSystemMgr*> manager{nullptr};
    std::atomic<clSystemMgr*> abandoned{nullptr}; // left to the end of the process

    // any thread; apart from the pointer, which every call reads
    alignas(64) std::atomic<int> callsInside{0};
};

constinit ProcessWide<Frame> g_frame;

/// Leaves the manager alone in a child that was made behind the C library's back.
void abandonAnotherProcess(Frame& frame)
{
    if (frame.manager.load() != nullptr && frame.process != processId())
        frame.abandoned.store(frame.manager.exchange(nullptr));
}

std::error_code codeOfCurrentException()
{
    try {
        throw;
    } catch (const std::system_error& error) {
        return error.code();
    } catch (const std::bad_alloc&) {
        return std::make_error_code(std::errc::not_enough_memory);
    } catch (...) {
        return std::make_error_code(std::errc::resource_unavailable_try_again);
    }
}

/// The manager's end uses them, also when it was only half made, and must find them made.
void makeWhatTheEndNeeds()
{
    requestorRegistry();
    messageStore();
    dataStore();
}

std::error_code startUnderLock()
{
    const sys::CancellationWaits wholeCall;
    Frame& frame = *g_frame;
    const std::lock_guard lock(frame.mutex);
    abandonAnotherProcess(frame);
    if (frame.manager.load() != nullptr)
        return {};
    frame.wsa.startup();
    try {
        frame.process = processId();
        makeWhatTheEndNeeds();
        frame.manager.store(new clSystemMgr, std::memory_order_release);
        return {};
    } catch (...) {
        frame.wsa.cleanup();
        return codeOfCurrentException();
    }
}

} // namespace

CallInside::CallInside() : m_count(g_frame->callsInside)
{
    m_count.fetch_add(1);
}

clSystemMgr* manager()
{
    return g_frame->manager.load();
}

void startLibrary()
{
    // A host in C, and the loader around a DllMain, may stop the exception by the system's own
    // means, which run no destructors, or run them wrongly: it is thrown when none are left to
    // run.
    const std::error_code failure = startUnderLock();
    if (failure == std::errc::not_enough_memory)
        throw std::bad_alloc{};
    if (failure)
        throw std::system_error{failure};
}

void stopLibrary()
{
    const sys::CancellationWaits wholeCall;
    Frame& frame = *g_frame;
    const std::lock_guard lock(frame.mutex);
    abandonAnotherProcess(frame);
    delete frame.manager.load();
    frame.manager.store(nullptr, std::memory_order_release);
    frame.wsa.cleanup();
}

void stopLibraryUnlessInUse() noexcept
{
    const sys::CancellationWaits wholeCall;
    Frame* const frame = g_frame.ifMade();
    if (!frame)
        return;
    const std::unique_lock lock(frame->mutex, std::try_to_lock);
    // Whoever has the lock is starting or stopping the library right now.
    if (!lock)
        return;
    abandonAnotherProcess(*frame);
    // Whoever comes from now on finds the library stopped; who has come before is counted.
    clSystemMgr* const mgr = frame->manager.exchange(nullptr);
    if (frame->callsInside.load() != 0)
        frame->abandoned.store(mgr);
    else
        delete mgr;
    frame->wsa.cleanup();
}

void abandonLibrary() noexcept
{
    if (Frame* const frame = g_frame.ifMade())
        frame->abandoned.store(frame->manager.exchange(nullptr));
}

} // namespace zel
