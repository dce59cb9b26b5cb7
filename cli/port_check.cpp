#include "port_check.h"

#include <system_error>

#ifdef _WIN32
#include <winsock2.h>
#else
#include <cerrno>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
#endif

namespace zel::cli {

namespace {

#ifdef _WIN32
std::string tryToBind(const sockaddr_in& address)
{
    WSADATA data;
    WSAStartup(MAKEWORD(2, 2), &data);
    const SOCKET made = socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
    std::string problem;
    if (bind(made, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        problem = std::system_category().message(WSAGetLastError());
    }
    closesocket(made);
    WSACleanup();
    return problem;
}
#else
std::string tryToBind(const sockaddr_in& address)
{
    const int made = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
    std::string problem;
    if (bind(made, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        problem = std::system_category().message(errno);
    }
    close(made);
    return problem;
}
#endif

} // namespace

std::string whyPortCannotBeBound(std::uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    return tryToBind(address);
}

} // namespace zel::cli
