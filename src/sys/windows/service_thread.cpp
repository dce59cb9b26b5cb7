#include "service_thread.h"

#include <atomic>
#include <system_error>

#include <windows.h>

namespace zel::sys {

namespace {

// Only a thread that cannot start takes so long.
constexpr DWORD kStartingMs = 5000;

[[noreturn]] void throwNoThread()
{
    throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
}

} // namespace

// A thread of a pool of its own: when the body returns, the thread goes on in the system's code,
// so that waiting for the body is enough before this library is unmapped. Waiting for the end of a
// thread would hang under the loader lock, which an ending thread needs.
struct ServiceThread::Twin {
    std::function<void()> body;
    PTP_POOL pool = nullptr;
    PTP_WORK work = nullptr;
    HANDLE hasStarted = nullptr;
    std::atomic<bool> isTaken = false; // by the thread, or by a constructor that has given it up
    std::atomic<DWORD> threadId = 0;
    bool isJoined = false;

    static void CALLBACK run(PTP_CALLBACK_INSTANCE, void* context, PTP_WORK)
    {
        auto* const twin = static_cast<Twin*>(context);
        if (twin->isTaken.exchange(true))
            return;
        twin->threadId = GetCurrentThreadId();
        SetEvent(twin->hasStarted);
        twin->body();
    }

    ~Twin()
    {
        if (work)
            CloseThreadpoolWork(work);
        if (pool)
            CloseThreadpool(pool);
        if (hasStarted)
            CloseHandle(hasStarted);
    }
};

ServiceThread::ServiceThread(std::function<void()> body) : m_twin(std::make_unique<Twin>())
{
    m_twin->body = std::move(body);
    m_twin->hasStarted = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    m_twin->pool = CreateThreadpool(nullptr);
    if (m_twin->pool) {
        SetThreadpoolThreadMaximum(m_twin->pool, 1);
        if (!SetThreadpoolThreadMinimum(m_twin->pool, 1))
            throwNoThread();
        TP_CALLBACK_ENVIRON environment;
        InitializeThreadpoolEnvironment(&environment);
        SetThreadpoolCallbackPool(&environment, m_twin->pool);
        m_twin->work = CreateThreadpoolWork(&Twin::run, m_twin.get(), &environment);
    }
    if (!m_twin->hasStarted || !m_twin->work)
        throwNoThread();
    SubmitThreadpoolWork(m_twin->work);
    // A thread cannot start under the loader lock: whoever holds it must not wait for ever, nor
    // must the body begin when it is too late.
    if (WaitForSingleObject(m_twin->hasStarted, kStartingMs) == WAIT_OBJECT_0 ||
        m_twin->isTaken.exchange(true))
        return;
    WaitForThreadpoolWorkCallbacks(m_twin->work, TRUE);
    throwNoThread();
}

ServiceThread::~ServiceThread()
{
    join();
}

void ServiceThread::join()
{
    if (m_twin->isJoined || m_twin->threadId.load() == GetCurrentThreadId())
        return;
    m_twin->isJoined = true;
    WaitForThreadpoolWorkCallbacks(m_twin->work, FALSE);
}

} // namespace zel::sys
