#include "network_ports.h"

#include <cerrno>
#include <system_error>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace zel::cli {

std::string whyNotBound(std::uint16_t port, bool isShared)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    const int sharing = isShared ? 1 : 0;
    std::string problem;
    const int made = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
    setsockopt(made, SOL_SOCKET, SO_REUSEADDR, &sharing, sizeof sharing);
    if (bind(made, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        problem = std::system_category().message(errno);
    close(made);
    return problem;
}

} // namespace zel::cli
