#pragma once

#include "native_stream.h"
#include "readiness.h"
#include "socket_library.h"

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace zel::communication {

/// The TCP stream to one module: a non-blocking socket with blocking operations on top.
///
/// Threads: before a data handler is set, one thread uses the socket. From then on receiving
/// belongs to the event loop's thread (inside the data handler); sending may happen on any thread,
/// one at a time; retire() on any thread.
class SocketNonblocking {
public:
    /// Gets the socket when data is ready; returns more than zero to be called again.
    using DataCallback = std::function<int(SocketNonblocking&)>;

    /// What a read may bring beyond what is asked for.
    static constexpr std::size_t kReadAhead = 8192;

    explicit SocketNonblocking(sys::EventLoop& loop);
    ~SocketNonblocking();
    SocketNonblocking(const SocketNonblocking&) = delete;
    SocketNonblocking& operator=(const SocketNonblocking&) = delete;

    /// Resolves and connects to the first address, within 5 seconds; 0 or -1.
    int connect(const std::string& address, const std::string& port);
    int connect(int family, const sockaddr* address, std::size_t length);

    /// Registers the socket with the event loop; the handler may be called before this returns.
    /// False when the loop cannot watch it: nobody will ever be told of its input.
    bool setDataCb(DataCallback handler);

    /// One buffered read: the count, which may be short; 0 when the peer has closed; or -1.
    int receive(MutableBytes buffer);
    /// Reads exactly the buffer's size; a negative time waits without limit. The size or -1.
    int receiveComplete(MutableBytes buffer, int timeoutMs);
    native::Failure lastFailure() const { return m_lastFailure; }

    /// Writes all bytes; returns their count also when the connection breaks meanwhile, which the
    /// receiving side notices. -1 when the system takes nothing.
    int sendBlock(Bytes data);
    /// Writes of the buffers, which are not empty, as much as the system takes at once.
    native::Transfer sendSome(std::span<const Bytes> buffers);
    /// See sys::Readiness.
    bool askForRoom(Bytes next, std::shared_ptr<const void> memory)
    {
        return m_readiness.askForRoom(next, std::move(memory));
    }
    std::optional<std::size_t> takenBytes() { return m_readiness.takenBytes(); }

    /// Leaves the event loop and ends the stream in both directions; whoever waits on it wakes up.
    /// The handle stays until the object goes, so that no other thread can meet a foreign one.
    void retire();
    /// Leaves the event loop and closes; the object may connect again.
    void disconnect();

    sys::EventLoop& loop() const { return m_readiness.loop(); }
    /// What it is registered with, until it is disconnected.
    const sys::Event& event() const { return m_readiness.event(); }
    /// True when a read would not need to ask the system. On the receiving thread.
    bool hasBuffered() const { return m_filled > m_position; }
    /// See native::silenceOf and native::countSilence. Any thread.
    auto silence() const { return native::silenceOf(m_socket); }
    void countSilence() { native::countSilence(m_socket); }
    /// Numeric host and port of the other end, which are kept from the moment of the connection on.
    const std::string& peerName() const { return m_peerName; }

private:
    bool registerWithLoop();
    void leaveLoop() { m_readiness.loop().eraseEvent(m_readiness.event()); }
    std::size_t takeBuffered(MutableBytes buffer);
    int readIntoBoth(MutableBytes buffer);
    void close();

    const sys::SocketLibraryUse m_library; // outlives the socket

    // changes only while one thread uses the socket
    sys::Readiness m_readiness;
    sys::NativeSocket m_socket = sys::kNoSocket;
    std::string m_peerName;
    bool m_isRegistered = false;
    DataCallback m_dataCallback;

    // the receiving side
    std::size_t m_filled = 0;
    std::size_t m_position = 0;
    native::Failure m_lastFailure = native::Failure::none;
    // Not initialised: its pages cost nothing until data comes in larger pieces than it is read.
    std::unique_ptr<std::byte[]> m_buffer;
};

} // namespace zel::communication
