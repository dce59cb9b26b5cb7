#include "native_datagram.h"

#include "system_sockets.h"

namespace zel::communication::native {

NativeSocket openDatagram()
{
    const SOCKET opened =
        WSASocketW(AF_INET, SOCK_DGRAM, IPPROTO_UDP, nullptr, 0, WSA_FLAG_OVERLAPPED);
    u_long nonBlocking = 1;
    if (opened != INVALID_SOCKET)
        ioctlsocket(opened, static_cast<long>(FIONBIO), &nonBlocking);
    return opened;
}

void closeDatagram(NativeSocket socket)
{
    closesocket(socket);
}

bool sendTo(NativeSocket socket, Bytes data, std::uint32_t address, std::uint16_t port)
{
    const sockaddr_in to = endpoint(address, port);
    return sendto(socket, reinterpret_cast<const char*>(data.data()), static_cast<int>(data.size()),
                  0, reinterpret_cast<const sockaddr*>(&to),
                  sizeof to) == static_cast<int>(data.size());
}

} // namespace zel::communication::native
