#include "readiness.h"

#include "exception.h"
#include "logger.h"
#include "port_twin.h"
#include "readiness_block.h"

#include <cstring>
#include <new>

#include <mswsock.h>
#include <ws2tcpip.h>

namespace zel::sys {

namespace {

constexpr std::uint32_t kRetryMs = 1000;

ReadinessBlock* makeBlock()
{
    auto block = std::make_unique<ReadinessBlock>();
    block->event = WSACreateEvent();
    // Without an event there is no id, and the null id is the loop's order to stop.
    if (block->event == WSA_INVALID_EVENT)
        throw exception("no event for a socket: " + systemErrorText(WSAGetLastError()));
    block->overlapped.hEvent = block->event;
    return block.release();
}

EventId idOf(const ReadinessBlock* block)
{
    return reinterpret_cast<std::uintptr_t>(block->event);
}

} // namespace

Readiness::Readiness(EventLoop& loop) : m_loop(loop), m_block(makeBlock())
{
    m_event.id = idOf(m_block);
}

Readiness::~Readiness()
{
    releaseBlocks();
}

void Readiness::releaseBlocks()
{
    retire();
    m_block->retry.reset();
    m_block->release();
    if (ReadinessBlock* const departure = m_departure.exchange(nullptr))
        departure->release();
}

void Readiness::retire()
{
    m_block->isAbandoned = true;
    if (ReadinessBlock* const departure = m_departure)
        departure->isAbandoned = true;
}

void Readiness::renew()
{
    ReadinessBlock* const fresh = makeBlock();
    releaseBlocks();
    m_block = fresh;
    m_event = {idOf(m_block), kNoSocket};
}

void Readiness::arm()
{
    m_loop.port().postEvent(m_event.id);
}

Readiness::Posted Readiness::post()
{
    if (isPending())
        return Posted::pending;
    WSAResetEvent(m_block->event);
    m_block->begin(m_loop.port());
    WSABUF nothing{0, nullptr};
    DWORD flags = 0;
    const int result =
        WSARecv(m_event.socket, &nothing, 1, nullptr, &flags, &m_block->overlapped, nullptr);
    if (result == 0)
        return Posted::completed; // its completion still comes through the port
    if (WSAGetLastError() == WSA_IO_PENDING)
        return Posted::pending;
    m_block->takeBack(m_loop.port());
    return Posted::failed;
}

namespace {

LPFN_WSARECVMSG receiveMessage(SOCKET socket)
{
    // The same function for all of the system's own sockets.
    static std::atomic<LPFN_WSARECVMSG> known = nullptr;
    LPFN_WSARECVMSG function = known;
    if (!function) {
        GUID id = WSAID_WSARECVMSG;
        DWORD size = 0;
        WSAIoctl(socket, SIO_GET_EXTENSION_FUNCTION_POINTER, &id, sizeof id, &function,
                 sizeof function, &size, nullptr, nullptr);
        known = function;
    }
    return function;
}

std::uint32_t interfaceOf(WSAMSG& message)
{
    for (WSACMSGHDR* record = WSA_CMSG_FIRSTHDR(&message); record;
         record = WSA_CMSG_NXTHDR(&message, record)) {
        if (record->cmsg_level != IPPROTO_IP || record->cmsg_type != IP_PKTINFO)
            continue;
        IN_PKTINFO info;
        std::memcpy(&info, WSA_CMSG_DATA(record), sizeof info);
        return info.ipi_ifindex;
    }
    return 0;
}

/// 0 when a notification will come, also for what is there already; else the error.
int postDatagram(ReadinessBlock& block, SOCKET socket, PortSystem& port,
                 const std::shared_ptr<DatagramBuffer>& buffer)
{
    const LPFN_WSARECVMSG receive = receiveMessage(socket);
    if (!receive)
        return WSAGetLastError();
    WSAResetEvent(block.event);
    block.datagram = buffer;
    block.part = {static_cast<ULONG>(buffer->data.size()),
                  reinterpret_cast<char*>(buffer->data.data())};
    block.message = {};
    block.message.lpBuffers = &block.part;
    block.message.dwBufferCount = 1;
    block.message.Control = {sizeof block.control, block.control};
    block.message.name = reinterpret_cast<sockaddr*>(&block.source);
    block.message.namelen = sizeof block.source;
    block.begin(port);
    if (receive(socket, &block.message, nullptr, &block.overlapped, nullptr) == 0)
        return 0;
    const int error = WSAGetLastError();
    if (error == WSA_IO_PENDING)
        return 0;
    // A request that was refused is not under way, whatever the system has noted in there.
    block.overlapped.Internal = 0;
    block.datagram.reset();
    block.takeBack(port);
    return error;
}

} // namespace

void Readiness::expectDatagrams()
{
    m_block->retry = std::make_unique<Timer>(m_loop);
    m_block->retry->prepare([this] { arm(); });
}

bool Readiness::canReceiveDatagrams(NativeSocket socket)
{
    return receiveMessage(socket) != nullptr;
}

bool Readiness::nextDatagram(const std::shared_ptr<DatagramBuffer>& buffer)
{
    if (isPending())
        return false;
    if (m_block->datagram) {
        const bool hasCome = m_block->overlapped.Internal == 0;
        buffer->size = hasCome ? m_block->overlapped.InternalHigh : 0;
        buffer->interfaceIndex = hasCome ? interfaceOf(m_block->message) : 0;
        m_block->datagram.reset();
        if (hasCome)
            return true;
    }
    const int failure = postDatagram(*m_block, m_event.socket, m_loop.port(), buffer);
    if (failure != 0) {
        logger().write(LogLevel::warning, LogCategory::system, [&] {
            return "Readiness: a UDP socket cannot receive, it is tried again: " +
                   systemErrorText(failure);
        });
        m_block->retry->restart(kRetryMs);
    }
    return false;
}

bool Readiness::askForRoom(Bytes next, std::shared_ptr<const void> memory)
{
    // Windows cancels a thread's requests when that thread ends.
    if (!m_loop.isLoopThread()) {
        arm();
        return true;
    }
    ReadinessBlock* departure = m_departure;
    if (!departure)
        m_departure = departure = new (std::nothrow) ReadinessBlock;
    if (!departure)
        return false;
    departure->departing = std::move(memory);
    WSABUF part{static_cast<ULONG>(next.size()),
                const_cast<char*>(reinterpret_cast<const char*>(next.data()))};
    departure->begin(m_loop.port());
    if (WSASend(m_event.socket, &part, 1, nullptr, 0, &departure->overlapped, nullptr) == 0 ||
        WSAGetLastError() == WSA_IO_PENDING)
        return true; // its completion comes through the port either way
    departure->departing.reset();
    departure->takeBack(m_loop.port());
    return false;
}

std::optional<std::size_t> Readiness::takenBytes()
{
    ReadinessBlock* const departure = m_departure;
    if (!departure || !departure->departing)
        return 0;
    if (departure->isPending())
        return {};
    departure->departing.reset();
    return departure->overlapped.Internal == 0 ? departure->overlapped.InternalHigh : 0;
}

bool Readiness::isPending() const
{
    return m_block->isPending();
}

} // namespace zel::sys
