#include "native_stream.h"

#include "system_sockets.h"

#include <cstring>

namespace zel::communication::native {

bool isConnectionMade(NativeSocket socket)
{
    int error = 0;
    socklen_t size = sizeof error;
    return getsockopt(socket, SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&error), &size) == 0 &&
           error == 0;
}

bool isPeer(NativeSocket socket, const sockaddr* address, std::size_t length)
{
    sockaddr_storage peer{};
    socklen_t peerLength = sizeof peer;
    char hosts[2][256];
    char services[2][8];
    return getpeername(socket, reinterpret_cast<sockaddr*>(&peer), &peerLength) == 0 &&
           getnameinfo(reinterpret_cast<sockaddr*>(&peer), peerLength, hosts[0], sizeof hosts[0],
                       services[0], sizeof services[0], NI_NUMERICHOST | NI_NUMERICSERV) == 0 &&
           getnameinfo(address, static_cast<socklen_t>(length), hosts[1], sizeof hosts[1],
                       services[1], sizeof services[1], NI_NUMERICHOST | NI_NUMERICSERV) == 0 &&
           std::strcmp(hosts[0], hosts[1]) == 0 && std::strcmp(services[0], services[1]) == 0;
}

} // namespace zel::communication::native
