#include "native_stream.h"

#include "system_sockets.h"

#include <algorithm>
#include <array>
#include <limits>

#include <mstcpip.h>

namespace zel::communication::native {

namespace {

constexpr std::size_t kMaxGathered = 16;
constexpr DWORD kLongestSilenceSeconds = 10;
#ifndef TCP_MAXRT
constexpr int TCP_MAXRT = 5; // as the system's headers have it
#endif

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
    if (!setOption(socket, IPPROTO_TCP, TCP_NODELAY, noDelay))
        return false;
    // Best effort: not every version of the system knows it.
    setOption(socket, IPPROTO_TCP, TCP_MAXRT, kLongestSilenceSeconds);
    tcp_keepalive keepAlive{1, 1000, 1000};
    DWORD returned = 0;
    return WSAIoctl(socket, SIO_KEEPALIVE_VALS, &keepAlive, sizeof keepAlive, nullptr, 0, &returned,
                    nullptr, nullptr) == 0;
}

std::optional<std::chrono::milliseconds> silenceOf(NativeSocket)
{
    return {};
}

void countSilence(NativeSocket) {}

Failure connect(NativeSocket socket, const sockaddr* address, std::size_t length)
{
    if (::connect(socket, address, static_cast<int>(length)) == 0)
        return Failure::none;
    return failureOf(WSAGetLastError());
}

Wait waitFor(NativeSocket socket, Direction direction, int milliseconds)
{
    fd_set watched;
    FD_ZERO(&watched);
    FD_SET(socket, &watched);
    // A connection that was refused shows up only among the exceptions.
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

} // namespace zel::communication::native
