#pragma once

#include "byte_cursor.h"
#include "readiness.h"

#include <functional>
#include <memory>

namespace zel::communication {

/// The receiving side of a datagram socket, on an event loop. A flood of datagrams does not keep
/// the loop from its other work: after some of them the others get their turn.
class DatagramReceiver {
public:
    /// Gets each datagram with the index of its adapter, on the loop's thread. What throws has lost
    /// its datagram, as the network may lose any.
    using Take = std::function<void(Bytes datagram, std::uint32_t interfaceIndex)>;

    explicit DatagramReceiver(sys::EventLoop& loop);
    /// No datagram is handed out after it has returned on another thread. Closes the socket.
    ~DatagramReceiver();
    DatagramReceiver(const DatagramReceiver&) = delete;
    DatagramReceiver& operator=(const DatagramReceiver&) = delete;

    sys::EventLoop& loop() const { return m_readiness.loop(); }

    /// Takes the socket over and begins, once; false when the loop cannot watch it.
    bool start(sys::NativeSocket socket, Take take);

private:
    int onReadable();

    sys::Readiness m_readiness;
    const std::shared_ptr<sys::DatagramBuffer> m_buffer;
    Take m_take;
};

} // namespace zel::communication
