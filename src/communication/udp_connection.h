#pragma once

#include "datagram_receiver.h"
#include "mutex.h"
#include "socket_library.h"
#include "transaction_listener.h"

#include <cstdint>

namespace zel {

/// The broadcast path: telegrams go to port 1200 of everybody, answers come to port 1201. Where the
/// ports cannot be had, the log says so and the path is dead: TCP goes on without it. Throws
/// std::system_error where the host has no descriptors or memory left.
class clUDPConnection {
public:
    clUDPConnection(sys::EventLoop& loop, iDatagramHandler& handler);
    ~clUDPConnection();
    clUDPConnection(const clUDPConnection&) = delete;
    clUDPConnection& operator=(const clUDPConnection&) = delete;

    sys::EventLoop& loop() const { return m_receiver.loop(); }

    static constexpr std::uint32_t kAnyInterface = 0;
    /// Over one adapter, nothing leaves when that cannot be had, or the one that the system
    /// chooses: 0 or ZEL_CONN_SEND_FAILED. Any thread.
    std::int32_t sendOver(std::uint32_t interfaceIndex, Bytes data);

private:
    int setRecvInterface();
    int setSendInterface();

    const sys::SocketLibraryUse m_library; // outlives the sockets
    iDatagramHandler& m_handler;
    communication::DatagramReceiver m_receiver;

    Mutex m_sendMutex;
    sys::NativeSocket m_sendSocket = sys::kNoSocket; // fixed at construction; used under the mutex
};

} // namespace zel
