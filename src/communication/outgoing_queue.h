#pragma once

#include "byte_cursor.h"
#include "mutex.h"

#include <atomic>
#include <chrono>
#include <list>
#include <memory>
#include <span>

namespace zel::communication {

class SocketNonblocking;

/// What leaves on one stream, in order: as much at once as the system takes, the rest when the
/// event loop sees room for it. Any thread; nothing is sent, allocated or called under the lock.
class OutgoingQueue {
public:
    using Clock = std::chrono::steady_clock;

    /// notSent: nothing of it will leave. torn: nor will what was accepted before; the stream is of
    /// no use any more.
    enum class Outcome { accepted, noRoom, notSent, torn };

    /// What callers may fill: beyond it they wait for room.
    static constexpr std::size_t kRoom = std::size_t{1} << 20;
    /// What callbacks may fill, which cannot wait.
    static constexpr std::size_t kMost = std::size_t{16} << 20;

    explicit OutgoingQueue(SocketNonblocking& socket) : m_socket(socket) {}

    /// Takes all the parts or, when there would be more than `limit` bytes waiting, none. Never
    /// blocks. Throws std::bad_alloc where it cannot keep what the system does not take at once;
    /// nothing of it leaves then.
    Outcome put(std::span<const Bytes> parts, std::size_t limit);
    /// Waits until so many bytes find room within kRoom, or the queue is closed; false when the
    /// time is over. Without any other lock.
    bool waitForRoom(std::size_t size, Clock::time_point deadline);
    /// Inside the socket's callback: sends on when there is room again.
    Outcome goOn();
    /// Drops what waits and accepts nothing any more. Whoever waits for room is woken.
    void close();

private:
    /// sending: one thread does, without the lock, and looks for more afterwards.
    enum class State { idle, sending, waitingForRoom, closed };

    /// What is left of one telegram. The system may read the memory longer than it is waiting.
    struct Piece {
        std::shared_ptr<std::byte[]> memory;
        Bytes left;
    };
    using Pieces = std::list<Piece>;

    static Pieces copyOf(std::span<const Bytes> parts, std::size_t offset);
    bool fitsLocked(std::size_t size, std::size_t limit) const;
    bool beginSending();
    Outcome sendFirst(std::span<const Bytes> parts);
    Outcome putBehind(std::span<const Bytes> parts, std::size_t limit);
    // accepted, also where the queue was closed meanwhile: what was put in may have left. Or torn.
    Outcome sendWaiting();
    Outcome askForRoom();
    Outcome giveUpWaiting();

    void taken(std::size_t count);
    Outcome giveUp(bool isTorn);

    SocketNonblocking& m_socket;

    Mutex m_mutex;
    ConditionVariable m_hasRoom;
    // under m_mutex; while one thread is sending, only that one takes pieces away
    State m_state = State::idle;
    Pieces m_pieces;
    std::size_t m_waiting = 0; // bytes, with those that the pieces themselves cost
    int m_callers = 0;         // that wait for room
    std::atomic<bool> m_isWaitingForRoom = false;
};

} // namespace zel::communication
