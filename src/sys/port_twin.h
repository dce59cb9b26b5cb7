#pragma once

#include "event_loop.h"

#include <optional>
#include <system_error>

namespace zel::sys {

/// What the operating system gives the event loop to wait on.
class PortTwin {
public:
    /// Why a wait came back. `event`: an event has input. `last`: the same, but its peer vanished:
    /// one call, no repetition. `again`: nothing to do but to wait again.
    enum class Reason { event, last, again, stop, failed };
    struct WakeUp {
        Reason reason = Reason::again;
        EventId id = 0;
        int error = 0; // of the system, where it failed
    };

    PortTwin();
    ~PortTwin();
    PortTwin(const PortTwin&) = delete;
    PortTwin& operator=(const PortTwin&) = delete;

    /// Why there is nothing to wait on; empty where there is.
    std::error_code failure() const { return m_failure; }
    /// Watches the event's socket; nothing when that worked, else the system's error.
    std::optional<int> watch(const Event& event);
    void unwatch(const Event& event);
    /// Stops reporting a watched socket's input, until notice(); false where that cannot be.
    bool ignore(const Event& event);
    void notice(const Event& event);
    /// Waits for input on an ignored socket, on the calling thread.
    static bool hasInput(const Event& event, int limitMs);

    WakeUp wait(int limitMs, EventLog& log);
    void postStop();
    void postWake();

#ifdef _WIN32
    /// Lets the event's callback be called.
    void postEvent(EventId id);
    void* handle() const
    {
        return m_port;
    }
    /// Overlapped operations whose completion has not come out of the port yet.
    std::atomic<int>& operationsUnderWay()
    {
        return m_operationsUnderWay;
    }

private:
    std::error_code m_failure;
    void* m_port = nullptr;
    std::atomic<int> m_operationsUnderWay = 0;
#else
    /// Reports the event once when its socket takes bytes again, whether its input is ignored or
    /// not.
    bool watchRoom(const Event& event);

private:
    static constexpr int kBatch = 64;

    // loop thread only: what one epoll_wait brought and is not handed out yet
    struct Batch;
    std::unique_ptr<Batch> m_batch; // first: without memory for it there is nothing to close
    std::unique_ptr<Batch> m_roomBatch;

    std::error_code m_failure;
    int m_epoll = -1;
    int m_wakeUp = -1;
    int m_roomEpoll = -1; // watched by the other one
    std::atomic<bool> m_mustStop = false;
#endif
};

} // namespace zel::sys
