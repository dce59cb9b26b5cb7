#include "network_ports.h"

#include "command_failure.h"

#include <cstdio>
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

constexpr std::uint16_t kBroadcastAnswers = 1201;
constexpr std::uint16_t kMulticasts = 1300;

/// Why the port cannot be bound; empty when it can.
std::string tryToBind(std::uint16_t port, bool isSharing)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    const int sharing = isSharing ? 1 : 0;
    std::string problem;
#ifdef _WIN32
    WSADATA data;
    WSAStartup(MAKEWORD(2, 2), &data);
    const SOCKET made = socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
    setsockopt(made, SOL_SOCKET, SO_REUSEADDR, reinterpret_cast<const char*>(&sharing),
               sizeof sharing);
    if (bind(made, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        problem = std::system_category().message(WSAGetLastError());
    closesocket(made);
    WSACleanup();
#else
    const int made = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
    setsockopt(made, SOL_SOCKET, SO_REUSEADDR, &sharing, sizeof sharing);
    if (bind(made, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        problem = std::system_category().message(errno);
    close(made);
#endif
    return problem;
}

} // namespace

PortCheck checkPort(std::uint16_t port)
{
    const std::string alone = tryToBind(port, false);
    if (alone.empty())
        return {};
    const std::string sharing = tryToBind(port, true);
    return sharing.empty() ? PortCheck{PortState::shared, alone}
                           : PortCheck{PortState::taken, sharing};
}

void requireScanPorts()
{
    const PortCheck broadcasts = checkPort(kBroadcastAnswers);
    const PortCheck multicasts = checkPort(kMulticasts);
    const bool hearsBroadcasts = broadcasts.state != PortState::taken;
    const bool hearsMulticasts = multicasts.state != PortState::taken;
    if (!hearsBroadcasts && !hearsMulticasts) {
        throw CommandFailure(
            {.problem = "no module can be heard: other programs keep the UDP ports 1201 (" +
                        broadcasts.reason + ") and 1300 (" + multicasts.reason + ")",
             .advice = "end these programs; modules whose address is known are reached by it"});
    }
    if (hearsBroadcasts && hearsMulticasts)
        return;
    const CommandFailure warning(
        {.problem = "another program keeps the UDP port " +
                    (hearsMulticasts ? "1201 (" + broadcasts.reason + "): answers to broadcasts"
                                     : "1300 (" + multicasts.reason + "): multicasts") +
                    " are not heard",
         .advice = "modules that answer only there are not found; end that program"});
    std::fputs(warning.message().c_str(), stderr);
}

} // namespace zel::cli
