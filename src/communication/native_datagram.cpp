#include "native_datagram.h"

#include "system_sockets.h"

namespace zel::communication::native {

namespace {

bool changeMembership(NativeSocket socket, int change, std::uint32_t group,
                      std::uint32_t interfaceAddress)
{
    ip_mreq request{};
    request.imr_multiaddr.s_addr = group;
    request.imr_interface.s_addr = interfaceAddress;
    return setOption(socket, IPPROTO_IP, change, request);
}

} // namespace

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

bool parseAddress(const std::string& text, std::uint32_t& address)
{
    in_addr parsed{};
    if (inet_pton(AF_INET, text.c_str(), &parsed) != 1)
        return false;
    address = parsed.s_addr;
    return true;
}

} // namespace zel::communication::native
