#include "port_twin.h"

#include "readiness_block.h"

#include <windows.h>

namespace zel::sys {

namespace {

// Keys of the loop's own posts. Sockets' ids are handles: multiples of four and never null.
constexpr ULONG_PTR kStopKey = 0;
constexpr ULONG_PTR kWakeUpKey = 1;

/// The connection is over, as its next read will tell; that is no failure of the loop.
bool tellsOfALostPeer(DWORD error)
{
    switch (error) {
    case ERROR_NETNAME_DELETED:
    case ERROR_SEM_TIMEOUT: // a peer that has fallen silent
    case ERROR_CONNECTION_REFUSED:
    case ERROR_NETWORK_UNREACHABLE:
    case ERROR_HOST_UNREACHABLE:
    case ERROR_CONNECTION_ABORTED:
    case WSAECONNABORTED:
    case WSAECONNRESET:
    case WSAETIMEDOUT:
        return true;
    default:
        return false;
    }
}

} // namespace

PortSystem::PortSystem() : m_port(CreateIoCompletionPort(INVALID_HANDLE_VALUE, nullptr, 0, 1))
{
    if (!m_port)
        m_failure = {static_cast<int>(GetLastError()), std::system_category()};
}

PortSystem::~PortSystem()
{
    if (!m_port)
        return;
    // Every closed socket still has the completion of its last receive in the port, and with it a
    // reference to the block that the kernel wrote to.
    while (m_operationsUnderWay.load() > 0) {
        DWORD bytes = 0;
        ULONG_PTR key = 0;
        OVERLAPPED* overlapped = nullptr;
        const BOOL got = GetQueuedCompletionStatus(m_port, &bytes, &key, &overlapped, 1000);
        if (!got && !overlapped)
            break;
        if (overlapped)
            ReadinessBlock::completed(overlapped, *this);
    }
    CloseHandle(m_port);
}

std::optional<int> PortTwin::watch(const Event& event)
{
    const auto key = static_cast<ULONG_PTR>(event.id & 0xFFFFFFFFu);
    if (CreateIoCompletionPort(reinterpret_cast<HANDLE>(event.socket), m_port, key, 1))
        return {};
    // A socket that registers again is still associated with this port.
    const DWORD error = GetLastError();
    if (error == ERROR_INVALID_PARAMETER)
        return {};
    return static_cast<int>(error);
}

void PortTwin::unwatch(const Event&) {}

// Overlapped receives belong to the thread that posts them, the loop's: nobody else may serve.
bool PortTwin::ignore(const Event&)
{
    return false;
}

void PortTwin::notice(const Event&) {}

bool PortTwin::hasInput(const Event&, int)
{
    return false;
}

PortTwin::WakeUp PortTwin::wait(int limitMs, EventLog& log)
{
    DWORD bytes = 0;
    ULONG_PTR key = 0;
    OVERLAPPED* overlapped = nullptr;
    const DWORD limit = limitMs < 0 ? INFINITE : static_cast<DWORD>(limitMs);
    const BOOL succeeded = GetQueuedCompletionStatus(m_port, &bytes, &key, &overlapped, limit);
    const DWORD error = succeeded ? ERROR_SUCCESS : GetLastError();
    ReadinessBlock::Completion completion;
    if (overlapped)
        completion = ReadinessBlock::completed(overlapped, *this);
    if (completion.isAbandoned)
        return {};
    if (succeeded) {
        if (key == kStopKey)
            return {Reason::stop};
        if (key == kWakeUpKey)
            return {};
        return {Reason::event, key};
    }
    if (!overlapped) {
        if (error != WAIT_TIMEOUT)
            log.writeError(
                "Event loop woke up but nothing was dequeued. Waiting for next events...");
        return {};
    }
    if (error == ERROR_OPERATION_ABORTED)
        return {};
    // Whatever became of this send, the next one tells it too.
    if (completion.isDeparture || tellsOfALostPeer(error))
        return {Reason::last, key};
    return {Reason::failed, 0, static_cast<int>(error)};
}

void PortTwin::postStop()
{
    PostQueuedCompletionStatus(m_port, 0, kStopKey, nullptr);
}

void PortSystem::postEvent(std::uint64_t id)
{
    PostQueuedCompletionStatus(m_port, 0, static_cast<ULONG_PTR>(id), nullptr);
}

void PortTwin::postWake()
{
    PostQueuedCompletionStatus(m_port, 0, kWakeUpKey, nullptr);
}

} // namespace zel::sys
