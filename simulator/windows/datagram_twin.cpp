#include "datagram_twin.h"

#include <winsock2.h>
#include <ws2tcpip.h>

namespace zel::simulator::datagram_twin {

void tellAdapters(Handle) {}

std::ptrdiff_t receive(Handle socket, MutableBytes buffer, std::uint32_t& interfaceIndex)
{
    interfaceIndex = 0;
    return recv(socket, reinterpret_cast<char*>(buffer.data()), static_cast<int>(buffer.size()), 0);
}

void send(Handle socket, Bytes bytes, const asio::ip::udp::endpoint& to,
          std::uint32_t interfaceIndex, const asio::ip::address_v4& from)
{
    const DWORD adapter = htonl(from.to_uint());
    setsockopt(socket, IPPROTO_IP, IP_MULTICAST_IF, reinterpret_cast<const char*>(&adapter),
               sizeof adapter);
    const DWORD index = htonl(interfaceIndex);
    setsockopt(socket, IPPROTO_IP, IP_UNICAST_IF, reinterpret_cast<const char*>(&index),
               sizeof index);
    sendto(socket, reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size()), 0,
           to.data(), static_cast<int>(to.size()));
}

} // namespace zel::simulator::datagram_twin
