#include "network_ports.h"

#include <system_error>

#include <winsock2.h>

namespace zel::cli {

std::string whyNotBound(std::uint16_t port, bool isShared)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    const int sharing = isShared ? 1 : 0;
    std::string problem;
    WSADATA data;
    WSAStartup(MAKEWORD(2, 2), &data);
    const SOCKET made = socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
    setsockopt(made, SOL_SOCKET, SO_REUSEADDR, reinterpret_cast<const char*>(&sharing),
               sizeof sharing);
    if (bind(made, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        problem = std::system_category().message(WSAGetLastError());
    closesocket(made);
    WSACleanup();
    return problem;
}

} // namespace zel::cli
