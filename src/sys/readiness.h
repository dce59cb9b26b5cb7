#pragma once

#include "byte_cursor.h"
#include "event_loop.h"

#include <array>
#include <atomic>
#include <memory>
#include <optional>

namespace zel::sys {

struct ReadinessBlock;

/// One received datagram; larger ones than it holds do not exist.
struct DatagramBuffer {
    std::array<std::byte, 65536> data;
    std::size_t size = 0;
    std::uint32_t interfaceIndex = 0; ///< of the adapter that it came in by; 0 when unknown
};

/// Tells an event loop when a socket has input. On Windows it is a zero-byte overlapped receive,
/// which must be posted anew whenever a read found nothing; on Linux the kernel keeps watch by
/// itself. Its id is unique among the events of all loops.
class Readiness {
public:
    enum class Posted { pending, completed, failed };

    explicit Readiness(EventLoop& loop);
    /// What the kernel may still write to outlives this object until its completion has come out
    /// of the loop's port.
    ~Readiness();
    Readiness(const Readiness&) = delete;
    Readiness& operator=(const Readiness&) = delete;

    void setSocket(NativeSocket socket) { m_event.socket = socket; }
    const Event& event() const { return m_event; }
    EventLoop& loop() const { return m_loop; }

    /// Asks for the first notification, from any thread. The event's callback is called at once
    /// where it has to ask itself, by a read that finds nothing: Windows cancels a thread's
    /// requests when that thread ends, so that only the loop's own thread may ask.
    void arm();
    /// On the loop's thread: asks to be told of the next input. `completed`: there is some already.
    Posted post();
    /// Makes what nextDatagram() may need when it cannot receive for a while.
    void expectDatagrams();
    /// Whether the system has what nextDatagram() needs on that socket.
    static bool canReceiveDatagrams(NativeSocket socket);
    /// On the loop's thread, for a datagram socket instead of post(): true when a datagram is in
    /// the buffer, to be called again when it is dealt with; false when a notification will come.
    /// What the kernel writes to lives on like this object's own memory.
    bool nextDatagram(const std::shared_ptr<DatagramBuffer>& buffer);
    /// Asks for one more call of the event's callback when the socket takes bytes again, from any
    /// thread; false when nobody will tell. The system may already take `next`, whose memory it
    /// keeps until then.
    bool askForRoom(Bytes next, std::shared_ptr<const void> memory);
    /// Inside the callback: how many of those bytes it has taken, each told once; nothing while
    /// it is still sending.
    std::optional<std::size_t> takenBytes();
    /// From now on completions are dropped, whatever they say.
    void retire();
    /// Starts afresh for another socket, under another id.
    void renew();
    /// True while a posted request waits for input: a read would find nothing.
    bool isPending() const;

private:
    void releaseBlocks();

    EventLoop& m_loop;
    Event m_event;
    ReadinessBlock* m_block = nullptr;
    // Of what the system takes through askForRoom(); made on the loop's thread.
    std::atomic<ReadinessBlock*> m_departure = nullptr;
};

} // namespace zel::sys
