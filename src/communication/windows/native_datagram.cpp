#include "native_datagram.h"

#include <winsock2.h>

#include <ws2tcpip.h>

namespace zel::communication::native {

namespace {

template <class Value>
bool setOption(NativeSocket socket, int level, int name, const Value& value)
{
    return setsockopt(socket, level, name, reinterpret_cast<const char*>(&value), sizeof value) ==
           0;
}

sockaddr_in endpoint(std::uint32_t address, std::uint16_t port)
{
    sockaddr_in made{};
    made.sin_family = AF_INET;
    made.sin_addr.s_addr = address;
    made.sin_port = htons(port);
    return made;
}

bool changeMembership(NativeSocket socket, int change, std::uint32_t group,
                      std::uint32_t interfaceAddress)
{
    ip_mreq request{};
    request.imr_multiaddr.s_addr = group;
    request.imr_interface.s_addr = interfaceAddress;
    return setOption(socket, IPPROTO_IP, change, request);
}

} // namespace

NativeSocket openDatagram()
{
    const SOCKET opened =
        WSASocketW(AF_INET, SOCK_DGRAM, IPPROTO_UDP, nullptr, 0, WSA_FLAG_OVERLAPPED);
    u_long nonBlocking = 1;
    if (opened != INVALID_SOCKET)
        ioctlsocket(opened, static_cast<long>(FIONBIO), &nonBlocking);
    return opened;
}

void closeDatagram(NativeSocket socket)
{
    closesocket(socket);
}

bool setReceiveBuffer(NativeSocket socket, int size)
{
    return setOption(socket, SOL_SOCKET, SO_RCVBUF, size);
}

bool setPacketInfo(NativeSocket socket)
{
    return setOption(socket, IPPROTO_IP, IP_PKTINFO, 1);
}

bool setReuseAddress(NativeSocket socket)
{
    return setOption(socket, SOL_SOCKET, SO_REUSEADDR, 1);
}

bool setBroadcast(NativeSocket socket)
{
    return setOption(socket, SOL_SOCKET, SO_BROADCAST, 1);
}

bool bindToPort(NativeSocket socket, std::uint16_t port)
{
    const sockaddr_in address = endpoint(INADDR_ANY, port);
    return bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

bool setMulticastLoop(NativeSocket socket, bool isOn)
{
    return setOption(socket, IPPROTO_IP, IP_MULTICAST_LOOP, static_cast<unsigned char>(isOn));
}

bool setMulticastInterface(NativeSocket socket, std::uint32_t address)
{
    return setOption(socket, IPPROTO_IP, IP_MULTICAST_IF, address);
}

bool setMulticastInterfaceIndex(NativeSocket socket, std::uint32_t index)
{
    // An address of the form 0.x.x.x is taken as an index.
    return setOption(socket, IPPROTO_IP, IP_MULTICAST_IF, htonl(index));
}

bool setMulticastTtl(NativeSocket socket, int ttl)
{
    return setOption(socket, IPPROTO_IP, IP_MULTICAST_TTL, ttl);
}

bool joinGroup(NativeSocket socket, std::uint32_t group, std::uint32_t interfaceAddress)
{
    return changeMembership(socket, IP_ADD_MEMBERSHIP, group, interfaceAddress);
}

bool leaveGroup(NativeSocket socket, std::uint32_t group, std::uint32_t interfaceAddress)
{
    return changeMembership(socket, IP_DROP_MEMBERSHIP, group, interfaceAddress);
}

bool setBroadcastInterface(NativeSocket socket, std::uint32_t index)
{
    return setOption(socket, IPPROTO_IP, IP_UNICAST_IF, htonl(index));
}

bool sendTo(NativeSocket socket, Bytes data, std::uint32_t address, std::uint16_t port)
{
    const sockaddr_in to = endpoint(address, port);
    return sendto(socket, reinterpret_cast<const char*>(data.data()), static_cast<int>(data.size()),
                  0, reinterpret_cast<const sockaddr*>(&to),
                  sizeof to) == static_cast<int>(data.size());
}

bool parseAddress(const std::string& text, std::uint32_t& address)
{
    in_addr parsed{};
    if (inet_pton(AF_INET, text.c_str(), &parsed) != 1)
        return false;
    address = parsed.s_addr;
    return true;
}

} // namespace zel::communication::native
