#include "native_datagram.h"

#include "own_descriptors.h"
#include "system_sockets.h"

namespace zel::communication::native {

NativeSocket openDatagram()
{
    return sys::closedInChild(
        ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, IPPROTO_UDP));
}

void closeDatagram(NativeSocket socket)
{
    sys::closeOwn(socket);
}

bool sendTo(NativeSocket socket, Bytes data, std::uint32_t address, std::uint16_t port)
{
    const sockaddr_in to = endpoint(address, port);
    return sendto(socket, data.data(), data.size(), MSG_NOSIGNAL,
                  reinterpret_cast<const sockaddr*>(&to),
                  sizeof to) == static_cast<ssize_t>(data.size());
}

} // namespace zel::communication::native
