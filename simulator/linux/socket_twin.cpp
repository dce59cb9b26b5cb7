#include "socket_twin.h"

#include <cstring>
#include <memory>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace zel::simulator::socket_twin {

namespace {

union Control {
    char bytes[CMSG_SPACE(sizeof(in_pktinfo))];
    cmsghdr alignment;
};

} // namespace

void takeLingeringPort(asio::ip::tcp::acceptor& acceptor)
{
    acceptor.set_option(asio::socket_base::reuse_address{true});
}

std::map<std::string, std::uint32_t> interfacesByAddress()
{
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0)
        return {};
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner{first, &freeifaddrs};
    std::map<std::string, std::uint32_t> interfaces;
    for (const ifaddrs* entry = first; entry; entry = entry->ifa_next) {
        if ((entry->ifa_flags & IFF_LOOPBACK) || !entry->ifa_addr ||
            entry->ifa_addr->sa_family != AF_INET)
            continue;
        char text[INET_ADDRSTRLEN] = "";
        const auto* const ipv4 = reinterpret_cast<const sockaddr_in*>(entry->ifa_addr);
        inet_ntop(AF_INET, &ipv4->sin_addr, text, sizeof text);
        // An address of an alias ("eth0:1") belongs to the adapter before the colon.
        const std::string label = entry->ifa_name;
        interfaces[text] = if_nametoindex(label.substr(0, label.find(':')).c_str());
    }
    return interfaces;
}

void tellAdapters(Handle socket)
{
    const int on = 1;
    setsockopt(socket, IPPROTO_IP, IP_PKTINFO, &on, sizeof on);
}

std::ptrdiff_t receive(Handle socket, MutableBytes buffer, std::uint32_t& interfaceIndex)
{
    Control control{};
    iovec part{buffer.data(), buffer.size()};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = &control;
    message.msg_controllen = sizeof control;
    const ssize_t size = recvmsg(socket, &message, MSG_DONTWAIT);
    interfaceIndex = 0;
    if (size < 0)
        return -1;
    for (cmsghdr* record = CMSG_FIRSTHDR(&message); record;
         record = CMSG_NXTHDR(&message, record)) {
        if (record->cmsg_level != IPPROTO_IP || record->cmsg_type != IP_PKTINFO)
            continue;
        in_pktinfo info;
        std::memcpy(&info, CMSG_DATA(record), sizeof info);
        interfaceIndex = static_cast<std::uint32_t>(info.ipi_ifindex);
    }
    return size;
}

void send(Handle socket, Bytes bytes, const asio::ip::udp::endpoint& to,
          std::uint32_t interfaceIndex, const asio::ip::address_v4& from)
{
    Control control{};
    iovec part{const_cast<std::byte*>(bytes.data()), bytes.size()};
    msghdr message{};
    message.msg_name = const_cast<sockaddr*>(to.data());
    message.msg_namelen = static_cast<socklen_t>(to.size());
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = &control;
    message.msg_controllen = sizeof control;
    cmsghdr* const record = CMSG_FIRSTHDR(&message);
    record->cmsg_level = IPPROTO_IP;
    record->cmsg_type = IP_PKTINFO;
    record->cmsg_len = CMSG_LEN(sizeof(in_pktinfo));
    in_pktinfo info{};
    info.ipi_ifindex = static_cast<int>(interfaceIndex);
    info.ipi_spec_dst.s_addr = htonl(from.to_uint());
    std::memcpy(CMSG_DATA(record), &info, sizeof info);
    sendmsg(socket, &message, MSG_NOSIGNAL);
}

} // namespace zel::simulator::socket_twin
