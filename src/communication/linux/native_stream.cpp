#include "native_stream.h"

#include "own_descriptors.h"
#include "system_sockets.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>

#include <fcntl.h>
#include <linux/sockios.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/uio.h>

namespace zel::communication::native {

namespace {

constexpr std::size_t kMaxGathered = 16;

using std::chrono::milliseconds;

constexpr milliseconds kLongestSilence{10000};
// Each second the system asks.
constexpr milliseconds kUsualSilence{1500};

bool limitSilence(NativeSocket socket, milliseconds limit)
{
    return setOption(socket, IPPROTO_TCP, TCP_USER_TIMEOUT, static_cast<int>(limit.count()));
}

/// Whether the peer has yet to acknowledge anything.
bool hasDataOnTheWay(NativeSocket socket)
{
    int bytes = 0;
    return ioctl(socket, SIOCOUTQ, &bytes) == 0 && bytes > 0;
}

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

} // namespace

NativeSocket openStream(int family)
{
    return sys::closedInChild(::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0));
}

bool setStreamOptions(NativeSocket socket)
{
    const int flags = fcntl(socket, F_GETFL);
    return flags >= 0 && fcntl(socket, F_SETFL, flags | O_NONBLOCK) == 0 &&
           setOption(socket, IPPROTO_TCP, TCP_NODELAY, 1) &&
           setOption(socket, SOL_SOCKET, SO_KEEPALIVE, 1) &&
           setOption(socket, IPPROTO_TCP, TCP_KEEPIDLE, 1) &&
           setOption(socket, IPPROTO_TCP, TCP_KEEPINTVL, 1) &&
           limitSilence(socket, kLongestSilence);
}

std::optional<milliseconds> silenceOf(NativeSocket socket)
{
    tcp_info info{};
    socklen_t size = sizeof info;
    if (getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &size) != 0)
        return {};
    return milliseconds{std::min(info.tcpi_last_ack_recv, info.tcpi_last_data_recv)};
}

void countSilence(NativeSocket socket)
{
    const milliseconds silence = silenceOf(socket).value_or(milliseconds{0});
    if (silence < kUsualSilence)
        limitSilence(socket, kLongestSilence);
    else if (!hasDataOnTheWay(socket))
        limitSilence(socket, std::max(milliseconds{1000}, kLongestSilence - silence));
}

Failure connect(NativeSocket socket, const sockaddr* address, std::size_t length)
{
    if (::connect(socket, address, static_cast<socklen_t>(length)) == 0)
        return Failure::none;
    return errno == EINPROGRESS ? Failure::wouldBlock : lastFailure();
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
    sys::closeOwn(socket);
}

} // namespace zel::communication::native
