#include "socket_twin.h"

#include <vector>

#include <winsock2.h>
#include <iphlpapi.h>
#include <ws2tcpip.h>

namespace zel::simulator::socket_twin {

// It can be taken as it is; the option would let two modules share a port.
void takeLingeringPort(asio::ip::tcp::acceptor&) {}

std::map<std::string, std::uint32_t> interfacesByAddress()
{
    std::vector<std::max_align_t> memory;
    ULONG size = 0;
    ULONG result = GetAdaptersInfo(nullptr, &size);
    // Adapters may come between the two calls: ask again as long as the list grows.
    for (int attempt = 0; result == ERROR_BUFFER_OVERFLOW && attempt < 4; ++attempt) {
        memory.resize(size / sizeof(std::max_align_t) + 1);
        result = GetAdaptersInfo(reinterpret_cast<IP_ADAPTER_INFO*>(memory.data()), &size);
    }
    std::map<std::string, std::uint32_t> interfaces;
    if (result != ERROR_SUCCESS || memory.empty())
        return interfaces;
    const auto* info = reinterpret_cast<const IP_ADAPTER_INFO*>(memory.data());
    for (; info; info = info->Next)
        for (const IP_ADDR_STRING* pair = &info->IpAddressList; pair; pair = pair->Next)
            if (const std::string address = pair->IpAddress.String; address != "0.0.0.0")
                interfaces[address] = info->Index;
    return interfaces;
}

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

} // namespace zel::simulator::socket_twin
