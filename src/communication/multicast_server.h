#pragma once

#include "datagram_receiver.h"
#include "host_adapters.h"
#include "mutex.h"
#include "socket_library.h"

#include <cstdint>
#include <memory>
#include <string>

namespace zel::communication {

/// Listens to an IPv4 multicast group and sends to it over one chosen adapter at a time. Its
/// messages go to the standard error stream.
class MulticastServer {
public:
    /// Gets each datagram with the index of its adapter, on the loop's thread.
    using DataHandler = DatagramReceiver::Take;

    explicit MulticastServer(sys::EventLoop& loop);
    ~MulticastServer() { stop(); }
    MulticastServer(const MulticastServer&) = delete;
    MulticastServer& operator=(const MulticastServer&) = delete;

    /// 0 or -1. Once.
    int start(const std::string& group, std::uint32_t port, DataHandler handler);
    /// Whether start() has failed because the host has no descriptors or memory left.
    std::error_code shortage() const { return m_shortage; }
    void stop();
    sys::EventLoop& loop() const { return m_loop; }

    /// Joins or leaves the group on the adapter with this address, in the network's byte order.
    /// 1 when done, 0 when it was so already, -1 when it failed.
    int joinGroup(std::uint32_t interfaceAddress);
    int leaveGroup(std::uint32_t interfaceAddress);

    /// Any thread. 0; -2 when the adapter cannot be chosen; -1 for any other failure.
    int sendOverInterface(const sys::HostAdapter& adapter, Bytes datagram,
                          std::uint32_t timeToLive);

private:
    int startReceiving(DataHandler handler);

    const sys::SocketLibraryUse m_library; // outlives the sockets
    std::string m_group;
    std::uint32_t m_groupAddress = 0; // in the network's byte order
    std::uint32_t m_port = 0;
    sys::EventLoop& m_loop;
    std::unique_ptr<DatagramReceiver> m_receiver;
    sys::NativeSocket m_receiveSocket = sys::kNoSocket; // the receiver's
    std::error_code m_shortage;

    Mutex m_sendMutex;
    sys::NativeSocket m_sendSocket = sys::kNoSocket; // used under the mutex
};

} // namespace zel::communication
