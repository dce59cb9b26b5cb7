#include "native_stream.h"

#include "system_sockets.h"

namespace zel::communication::native {

bool isConnectionMade(NativeSocket socket)
{
    int error = 0;
    socklen_t size = sizeof error;
    return getsockopt(socket, SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&error), &size) == 0 &&
           error == 0;
}

std::string nameOf(const sockaddr* address, std::size_t length)
{
    char host[256];
    char service[8];
    if (getnameinfo(address, static_cast<socklen_t>(length), host, sizeof host, service,
                    sizeof service, NI_NUMERICHOST | NI_NUMERICSERV) != 0)
        return {};
    return std::string{host} + ' ' + service;
}

std::string peerNameOf(NativeSocket socket)
{
    sockaddr_storage peer{};
    socklen_t length = sizeof peer;
    auto* const address = reinterpret_cast<sockaddr*>(&peer);
    if (getpeername(socket, address, &length) != 0)
        return {};
    return nameOf(address, static_cast<std::size_t>(length));
}

} // namespace zel::communication::native
