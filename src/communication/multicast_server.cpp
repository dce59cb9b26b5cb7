#include "multicast_server.h"

#include "native_datagram.h"
#include "shortage.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace zel::communication {

namespace {

constexpr int kReceiveBuffer = 128000;

int complain(const char* message)
{
    std::fprintf(stderr, "%s\n", message);
    return -1;
}

} // namespace

MulticastServer::MulticastServer(sys::EventLoop& loop) : m_loop(loop) {}

void MulticastServer::stop()
{
    m_receiver.reset();
    m_receiveSocket = sys::kNoSocket;
    const std::lock_guard lock{m_sendMutex};
    if (m_sendSocket != sys::kNoSocket)
        native::closeDatagram(m_sendSocket);
    m_sendSocket = sys::kNoSocket;
}

int MulticastServer::start(const std::string& group, std::uint32_t port, DataHandler handler)
{
    m_group = group;
    m_port = port;
    m_sendSocket = native::openDatagram();
    if (m_sendSocket == sys::kNoSocket) {
        m_shortage = sys::lastShortage();
        return complain("Could not create socket!");
    }
    if (!native::setMulticastLoop(m_sendSocket, false))
        complain("Error setsockopt IP_MULTICAST_LOOP!");
    if (!native::parseAddress(m_group, m_groupAddress))
        return complain("Not a valid multicast IP address!");
    return startReceiving(std::move(handler));
}

int MulticastServer::startReceiving(DataHandler handler)
{
    auto receiver = std::make_unique<DatagramReceiver>(m_loop);
    const sys::NativeSocket socket = native::openDatagram();
    if (socket == sys::kNoSocket) {
        m_shortage = sys::lastShortage();
        return -1;
    }
    const auto giveUp = [&](const char* message) {
        native::closeDatagram(socket);
        return message ? complain(message) : -1;
    };
    if (!native::setReceiveBuffer(socket, kReceiveBuffer))
        return giveUp(nullptr);
    if (!native::setReuseAddress(socket))
        return giveUp("Could not set SO_REUSEADDR!");
    if (!native::setPacketInfo(socket))
        return giveUp("Could not set IP_PKTINFO!");
    if (!native::bindToPort(socket, static_cast<std::uint16_t>(m_port)))
        return giveUp("Could not bind socket!");
    if (!sys::Readiness::canReceiveDatagrams(socket))
        return giveUp("could not initialize WSARecvMsg");
    m_receiver = std::move(receiver);
    m_receiveSocket = socket;
    return m_receiver->start(socket, std::move(handler)) ? 0 : -1;
}

// After a failure errno tells, on both platforms, whatever the socket's own error was.

int MulticastServer::joinGroup(std::uint32_t interfaceAddress)
{
    if (native::joinGroup(m_receiveSocket, m_groupAddress, interfaceAddress))
        return 1;
    if (errno == EADDRINUSE)
        return 0;
    std::fprintf(stderr, "interface address %d could not be added to multicastgroup %s '%s'\n",
                 static_cast<int>(interfaceAddress), m_group.c_str(), std::strerror(errno));
    return -1;
}

int MulticastServer::leaveGroup(std::uint32_t interfaceAddress)
{
    if (native::leaveGroup(m_receiveSocket, m_groupAddress, interfaceAddress))
        return 1;
    return errno == EADDRNOTAVAIL ? 0 : -1;
}

int MulticastServer::sendOverInterface(const sys::HostAdapter& adapter, Bytes datagram,
                                       std::uint32_t timeToLive)
{
    std::uint32_t address = 0;
    if (adapter.addresses.empty() ||
        !native::parseAddress(adapter.addresses.back().address, address)) {
        std::fprintf(stderr, "%s interface %s does not have an ipv4 address!\n",
                     "zel::communication::MulticastServer::sendOverInterface",
                     adapter.name.c_str());
        return -2;
    }
    const auto name = static_cast<int>(address); // as messages show it
    const std::lock_guard lock{m_sendMutex};
    if (!native::setMulticastInterface(m_sendSocket, address)) {
        std::fprintf(stderr, "Error setsockopt IP_MULTICAST_IF for interface %d!\n", name);
        return -2;
    }
    if (!native::setMulticastTtl(m_sendSocket, static_cast<int>(timeToLive))) {
        std::fprintf(stderr, "%d: Error setsockopt IPV6_MULTICAST_HOPS to %u!\n", name, timeToLive);
        return -1;
    }
    if (native::sendTo(m_sendSocket, datagram, m_groupAddress, static_cast<std::uint16_t>(m_port)))
        return 0;
    std::fprintf(stderr, "error sending message over interface %d!\n", name);
    return -1;
}

} // namespace zel::communication
