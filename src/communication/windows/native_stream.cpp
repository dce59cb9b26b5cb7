#include "native_stream.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

#include <winsock2.h>

#include <mstcpip.h>
#include <ws2tcpip.h>

namespace zel::communication::native {

namespace {

constexpr std::size_t kMaxGathered = 16;

Failure failureOf(int error)
{
    switch (error) {
    case WSAEWOULDBLOCK:
        return Failure::wouldBlock;
    case WSAEINPROGRESS:
        return Failure::inProgress;
    case WSA_IO_PENDING:
        return Failure::pending;
    case WSAEINTR:
        return Failure::interrupted;
    default:
        return Failure::other;
    }
}

Transfer failed()
{
    return {-1, failureOf(WSAGetLastError())};
}

ULONG lengthOf(std::size_t size)
{
    return static_cast<ULONG>(std::min<std::size_t>(size, std::numeric_limits<int>::max()));
}

WSABUF bufferOf(Bytes bytes)
{
    auto* const data = const_cast<std::byte*>(bytes.data());
    return {lengthOf(bytes.size()), reinterpret_cast<char*>(data)};
}

} // namespace

bool startUp()
{
    WSADATA data;
    return WSAStartup(MAKEWORD(2, 2), &data) == 0;
}

void cleanUp()
{
    WSACleanup();
}

NativeSocket openStream(int family)
{
    return WSASocketW(family, SOCK_STREAM, 0, nullptr, 0, WSA_FLAG_OVERLAPPED);
}

bool setStreamOptions(NativeSocket socket)
{
    u_long nonBlocking = 1;
    if (ioctlsocket(socket, static_cast<long>(FIONBIO), &nonBlocking) != 0)
        return false;
    const char noDelay = 1; // one byte long: the stack takes it
    if (setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &noDelay, sizeof noDelay) != 0)
        return false;
    tcp_keepalive keepAlive{1, 1000, 1000};
    DWORD returned = 0;
    return WSAIoctl(socket, SIO_KEEPALIVE_VALS, &keepAlive, sizeof keepAlive, nullptr, 0, &returned,
                    nullptr, nullptr) == 0;
}

Failure connect(NativeSocket socket, const sockaddr* address, std::size_t length)
{
    if (::connect(socket, address, static_cast<int>(length)) == 0)
        return Failure::none;
    return failureOf(WSAGetLastError());
}

bool isConnectionMade(NativeSocket socket)
{
    int error = 0;
    int size = sizeof error;
    return getsockopt(socket, SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&error), &size) == 0 &&
           error == 0;
}

Wait waitFor(NativeSocket socket, Direction direction, int milliseconds)
{
    fd_set watched;
    FD_ZERO(&watched);
    FD_SET(socket, &watched);
    // A connection that was refused shows among the exceptions only.
    fd_set excepted = watched;
    timeval limit{milliseconds / 1000, milliseconds % 1000 * 1000};
    const int ready = select(0, direction == Direction::read ? &watched : nullptr,
                             direction == Direction::write ? &watched : nullptr, &excepted,
                             milliseconds < 0 ? nullptr : &limit);
    if (ready > 0)
        return Wait::ready;
    if (ready == 0)
        return Wait::timedOut;
    return WSAGetLastError() == WSAEINTR ? Wait::interrupted : Wait::failed;
}

Transfer receive(NativeSocket socket, MutableBytes first, MutableBytes second)
{
    WSABUF buffers[] = {bufferOf(first), bufferOf(second)};
    DWORD received = 0;
    DWORD flags = 0;
    if (WSARecv(socket, buffers, 2, &received, &flags, nullptr, nullptr) != 0)
        return failed();
    return {static_cast<std::ptrdiff_t>(received), Failure::none};
}

Transfer send(NativeSocket socket, Bytes data)
{
    return send(socket, std::span{&data, 1});
}

Transfer send(NativeSocket socket, std::span<const Bytes> buffers)
{
    std::array<WSABUF, kMaxGathered> gathered;
    const std::size_t count = std::min(buffers.size(), gathered.size());
    for (std::size_t i = 0; i < count; ++i)
        gathered[i] = bufferOf(buffers[i]);
    DWORD sent = 0;
    if (WSASend(socket, gathered.data(), static_cast<DWORD>(count), &sent, 0, nullptr, nullptr) !=
        0)
        return failed();
    return {static_cast<std::ptrdiff_t>(sent), Failure::none};
}

void shutDown(NativeSocket socket)
{
    ::shutdown(socket, SD_BOTH);
}

void close(NativeSocket socket)
{
    closesocket(socket);
}

bool isPeer(NativeSocket socket, const sockaddr* address, std::size_t length)
{
    sockaddr_storage peer{};
    int peerLength = sizeof peer;
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
