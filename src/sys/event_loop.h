#pragma once

#include "event_log.h"
#include "mutex.h"
#include "native_socket.h"
#include "timer_queue.h"

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <system_error>
#include <thread>
#include <unordered_map>
#include <vector>

namespace zel::sys {

class EventFlag;
class PortTwin;
class SpinBudget;

using EventId = std::uint64_t;

/// Returns more than zero when more may be waiting and it wants to be called again. It is; when
/// that goes on for long, the timers and the other events get their turn first. One that throws
/// has done what it did: nobody on the loop's thread could know better.
using EventCallback = std::function<int()>;

/// What a socket registers: an id that is unique among the registered events and its handle.
struct Event {
    EventId id = 0;
    NativeSocket socket = kNoSocket;
};

/// FNV-1a over the eight bytes of an id, low byte first.
struct EventIdHash {
    std::size_t operator()(EventId id) const;
};

/// The reactor of one Client: one thread runs execute() and calls the callbacks of the sockets
/// that have input. Completion ports on Windows, epoll on Linux.
///
/// Locks: the callbacks of one event run under that event's own lock, the outermost of the library,
/// so that they come one after the other, and those of different events need not. Whoever holds a
/// request's lock or the connection table's must not call in here. The loop's mutex is a leaf.
class EventLoop {
public:
    EventLoop();
    virtual ~EventLoop();
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    /// 0, or -1 when the callback is empty or the socket cannot be watched. A second registration
    /// under the same id replaces the callback; the old one may still be running.
    int addEvent(const Event& event, EventCallback callback);
    /// The callback will not run again, and is not running either once this has returned; but
    /// inside a callback, which may erase itself, this waits for none. Always 0.
    int eraseEvent(const Event& event);

    /// Why the system has given it no port; empty where it has.
    std::error_code failure() const;
    /// Dispatches on the calling thread: 0 when stopped or ended by an error, -1 without a port.
    int execute();
    void stop();

    /// False once execute() has ended by itself: no timer will ever expire again.
    bool canRun() const { return !m_hasEnded.load(); }
    /// True inside an event's callback, whichever thread runs it, and anywhere on the loop's own
    /// thread.
    bool isDispatching() const;
    bool isLoopThread() const { return m_thread.load() == std::this_thread::get_id(); }

    // A thread that waits for an answer may take it from the socket itself: being woken by the
    // loop's thread would cost about as much as the round trip in a local network. The others and
    // all timers stay with the loop's thread meanwhile.

    /// From now on the loop's thread does not notice the socket's input, though it may still call
    /// back for what it has noticed before. False where the system cannot do that.
    bool lend(const Event& event);
    /// Calls the event's callback for its input on this thread, until the flag is set, the event
    /// is erased or nothing has come for some milliseconds. Without any lock.
    void serve(const Event& event, const EventFlag& flag, const SpinBudget& budget);
    /// Ends what lend() began. Input that is already there is noticed too.
    void takeBack(const Event& event);

    TimerQueue& timers() { return m_timers; }
    PortTwin& port() { return *m_port; }

private:
    friend class PortTwin;

    struct Registration {
        Mutex turn; // held by whoever calls back
        // under the loop's mutex
        std::shared_ptr<const EventCallback> callback; // null when it is erased
        bool isRunning = false;
    };
    class Call;
    using Events = std::unordered_map<EventId, std::shared_ptr<Registration>, EventIdHash>;

    /// What a turn of an event has left.
    enum class Turn { gone, done, unfinished };

    Turn dispatch(EventId id, bool mayRepeat);
    std::shared_ptr<Registration> find(EventId id) const;
    /// Needs no memory.
    void addUnfinished(EventId id);
    /// The oldest that is left, when there is one.
    std::optional<EventId> takeUnfinished();
    /// Gives each event that is not finished one more turn.
    void goOn();
    /// Milliseconds until the next timer, rounded up; -1 for no limit.
    int waitLimitMs() const;
    void tellOfEnd(int error);

    EventLog m_log;
    std::unique_ptr<PortTwin> m_port;

    // any thread, under m_mutex
    mutable Mutex m_mutex;
    Events m_events;
    Call* m_lastCall = nullptr;                // of the events' callbacks that are running
    std::vector<EventId> m_unfinished;         // each once, with room for all events
    std::atomic<bool> m_hasUnfinished = false; // written under m_mutex

    TimerQueue m_timers;
    std::atomic<bool> m_hasEnded = false;
    std::atomic<std::thread::id> m_thread{};
};

} // namespace zel::sys
