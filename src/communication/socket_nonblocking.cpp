#include "socket_nonblocking.h"

#include "address_list.h"

#include <algorithm>
#include <chrono>
#include <cstring>

namespace zel::communication {

namespace {

constexpr int kConnectTimeoutMs = 5000;

using native::Direction;
using native::Failure;
using native::Wait;

} // namespace

SocketNonblocking::SocketNonblocking(sys::EventLoop& loop)
    : m_readiness(loop), m_buffer(std::make_unique_for_overwrite<std::byte[]>(kReadAhead))
{
}

SocketNonblocking::~SocketNonblocking()
{
    disconnect();
}

int SocketNonblocking::connect(const std::string& address, const std::string& port)
{
    const AddressList addresses{address, port};
    if (addresses.isEmpty())
        return -1;
    const AddressList::Entry& first = addresses.first();
    return connect(first.family, first.address(), first.length());
}

int SocketNonblocking::connect(int family, const sockaddr* address, std::size_t length)
{
    disconnect();
    m_readiness.renew();
    m_socket = native::openStream(family);
    if (m_socket == sys::kNoSocket)
        return -1;
    m_readiness.setSocket(m_socket);
    bool isConnected = native::setStreamOptions(m_socket);
    if (isConnected) {
        const Failure failure = native::connect(m_socket, address, length);
        isConnected = failure == Failure::none;
        if (failure == Failure::wouldBlock)
            isConnected =
                native::waitFor(m_socket, Direction::write, kConnectTimeoutMs) == Wait::ready &&
                native::isConnectionMade(m_socket);
    }
    if (!isConnected) {
        close();
        return -1;
    }
    m_peerName = native::peerNameOf(m_socket);
    if (m_dataCallback && !registerWithLoop()) {
        disconnect();
        return -1;
    }
    return 0;
}

bool SocketNonblocking::setDataCb(DataCallback handler)
{
    m_dataCallback = std::move(handler);
    return registerWithLoop();
}

bool SocketNonblocking::registerWithLoop()
{
    m_isRegistered = true;
    // The loop's copy of the handler: it may run while this object is being destroyed by it.
    const int result =
        m_readiness.loop().addEvent(m_readiness.event(), [this, handler = m_dataCallback] {
            return handler ? handler(*this) : -1;
        });
    if (result != 0)
        return false;
    m_readiness.arm();
    return true;
}

std::size_t SocketNonblocking::takeBuffered(MutableBytes buffer)
{
    const std::size_t count = std::min(buffer.size(), m_filled - m_position);
    std::memcpy(buffer.data(), m_buffer.get() + m_position, count);
    m_position += count;
    if (m_position == m_filled)
        m_filled = m_position = 0;
    return count;
}

int SocketNonblocking::receive(MutableBytes buffer)
{
    if (m_filled > m_position)
        return static_cast<int>(takeBuffered(buffer));
    if (m_readiness.isPending()) {
        m_lastFailure = Failure::pending;
        return -1;
    }
    int count = readIntoBoth(buffer);
    while (count < 0 && m_lastFailure == Failure::wouldBlock && m_isRegistered) {
        const sys::Readiness::Posted posted = m_readiness.post();
        if (posted == sys::Readiness::Posted::pending)
            break;
        // Data came, or the connection broke, between the read and the request for a notification.
        count = readIntoBoth(buffer);
        // Without a notification nobody would ever look again.
        if (posted == sys::Readiness::Posted::failed && m_lastFailure == Failure::wouldBlock)
            m_lastFailure = Failure::other;
    }
    return count;
}

int SocketNonblocking::readIntoBoth(MutableBytes buffer)
{
    m_filled = m_position = 0;
    // Before the loop watches the socket nothing is read ahead: it announces only what the system
    // still holds.
    const native::Transfer read =
        native::receive(m_socket, buffer, {m_buffer.get(), m_isRegistered ? kReadAhead : 0});
    m_lastFailure = read.failure;
    if (read.count <= 0)
        return static_cast<int>(read.count);
    const auto count = static_cast<std::size_t>(read.count);
    if (count <= buffer.size())
        return static_cast<int>(count);
    m_filled = count - buffer.size();
    return static_cast<int>(buffer.size());
}

int SocketNonblocking::receiveComplete(MutableBytes buffer, int timeoutMs)
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds{timeoutMs};
    std::size_t position = 0;
    while (position < buffer.size()) {
        const int count = receive(buffer.subspan(position));
        if (count > 0) {
            position += static_cast<std::size_t>(count);
            continue;
        }
        const bool mayCome = count < 0 && (m_lastFailure == Failure::pending ||
                                           m_lastFailure == Failure::wouldBlock);
        if (!mayCome)
            return -1;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        const int limitMs = timeoutMs < 0 ? -1 : std::max(0, static_cast<int>(left.count()));
        const Wait wait = native::waitFor(m_socket, Direction::read, limitMs);
        if (wait == Wait::interrupted || wait == Wait::timedOut)
            return -1;
    }
    return static_cast<int>(buffer.size());
}

int SocketNonblocking::sendBlock(Bytes data)
{
    const auto size = static_cast<int>(data.size());
    while (!data.empty()) {
        const native::Transfer sent = sendSome({&data, 1});
        if (sent.count == 0)
            return -1;
        if (sent.count > 0)
            data = data.subspan(static_cast<std::size_t>(sent.count));
        else if (sent.failure == Failure::other ||
                 native::waitFor(m_socket, Direction::write, -1) != Wait::ready)
            break;
    }
    return size;
}

native::Transfer SocketNonblocking::sendSome(std::span<const Bytes> buffers)
{
    native::Transfer sent;
    do
        sent = native::send(m_socket, buffers);
    while (sent.count < 0 && sent.failure == Failure::interrupted);
    return sent;
}

void SocketNonblocking::retire()
{
    leaveLoop();
    m_readiness.retire();
    if (m_socket != sys::kNoSocket)
        native::shutDown(m_socket);
}

void SocketNonblocking::disconnect()
{
    leaveLoop();
    if (m_socket == sys::kNoSocket)
        return;
    m_readiness.retire();
    native::shutDown(m_socket);
    close();
}

void SocketNonblocking::close()
{
    native::close(m_socket);
    m_socket = sys::kNoSocket;
    m_peerName.clear();
    m_readiness.setSocket(sys::kNoSocket);
    m_isRegistered = false;
    m_filled = m_position = 0;
}

} // namespace zel::communication
