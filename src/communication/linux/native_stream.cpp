#include "native_stream.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>

#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

namespace zel::communication::native {

namespace {

constexpr std::size_t kMaxGathered = 16;

Failure lastFailure()
{
    switch (errno) {
    case EAGAIN:
        return Failure::wouldBlock;
    case EINPROGRESS:
        return Failure::inProgress;
    case EINTR:
        return Failure::interrupted;
    default:
        return Failure::other;
    }
}

Transfer transferred(ssize_t count)
{
    return {count, count < 0 ? lastFailure() : Failure::none};
}

bool setOption(NativeSocket socket, int level, int name, int value)
{
    return setsockopt(socket, level, name, &value, sizeof value) == 0;
}

} // namespace

bool startUp()
{
    return true;
}

void cleanUp() {}

NativeSocket openStream(int family)
{
    return ::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0);
}

bool setStreamOptions(NativeSocket socket)
{
    const int flags = fcntl(socket, F_GETFL);
    return flags >= 0 && fcntl(socket, F_SETFL, flags | O_NONBLOCK) == 0 &&
           setOption(socket, IPPROTO_TCP, TCP_NODELAY, 1) &&
           setOption(socket, SOL_SOCKET, SO_KEEPALIVE, 1) &&
           setOption(socket, IPPROTO_TCP, TCP_KEEPIDLE, 1) &&
           setOption(socket, IPPROTO_TCP, TCP_KEEPINTVL, 1);
}

Failure connect(NativeSocket socket, const sockaddr* address, std::size_t length)
{
    if (::connect(socket, address, static_cast<socklen_t>(length)) == 0)
        return Failure::none;
    return errno == EINPROGRESS ? Failure::wouldBlock : lastFailure();
}

bool isConnectionMade(NativeSocket socket)
{
    int error = 0;
    socklen_t size = sizeof error;
    return getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0;
}

Wait waitFor(NativeSocket socket, Direction direction, int milliseconds)
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds{milliseconds};
    pollfd entry{socket, static_cast<short>(direction == Direction::read ? POLLIN : POLLOUT), 0};
    int ready = poll(&entry, 1, milliseconds);
    // A signal of the host's says nothing about the connection.
    while (ready < 0 && errno == EINTR) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        ready =
            poll(&entry, 1, milliseconds < 0 ? -1 : std::max(0, static_cast<int>(left.count())));
    }
    if (ready == 1)
        return Wait::ready;
    return ready == 0 ? Wait::timedOut : Wait::failed;
}

Transfer receive(NativeSocket socket, MutableBytes first, MutableBytes second)
{
    iovec buffers[] = {{first.data(), first.size()}, {second.data(), second.size()}};
    return transferred(readv(socket, buffers, 2));
}

Transfer send(NativeSocket socket, Bytes data)
{
    return transferred(::send(socket, data.data(), data.size(), MSG_NOSIGNAL));
}

Transfer send(NativeSocket socket, std::span<const Bytes> buffers)
{
    std::array<iovec, kMaxGathered> gathered;
    const std::size_t count = std::min(buffers.size(), gathered.size());
    for (std::size_t i = 0; i < count; ++i)
        gathered[i] = {const_cast<std::byte*>(buffers[i].data()), buffers[i].size()};
    msghdr message{};
    message.msg_iov = gathered.data();
    message.msg_iovlen = count;
    return transferred(sendmsg(socket, &message, MSG_NOSIGNAL));
}

void shutDown(NativeSocket socket)
{
    ::shutdown(socket, SHUT_RDWR);
}

void close(NativeSocket socket)
{
    ::close(socket);
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
