#pragma once

#include "event_loop.h"
#include "port_system.h"

#include <optional>

namespace zel::sys {

/// What the operating system gives the event loop to wait on.
class PortTwin : public PortSystem {
public:
    /// Why a wait came back. `event`: an event has input. `last`: the same, but its peer vanished:
    /// one call, no repetition. `again`: nothing to do but to wait again.
    enum class Reason { event, last, again, stop, failed };
    struct WakeUp {
        Reason reason = Reason::again;
        EventId id = 0;
        int error = 0; // of the system, where it failed
    };

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
};

} // namespace zel::sys
