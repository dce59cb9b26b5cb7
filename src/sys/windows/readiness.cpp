#include "readiness.h"

#include "readiness_block.h"

#include <cstring>

#include <mswsock.h>
#include <ws2tcpip.h>

namespace zel::sys {

namespace {

ReadinessBlock* makeBlock()
{
    auto* const block = new ReadinessBlock;
    block->event = WSACreateEvent();
    block->overlapped.hEvent = block->event;
    return block;
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
    retire();
    m_block->release();
}

void Readiness::retire()
{
    m_block->isAbandoned = true;
}

void Readiness::renew()
{
    ReadinessBlock* const fresh = makeBlock();
    retire();
    m_block->release();
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
    // The same for every socket of the system's own.
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

} // namespace

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
    const LPFN_WSARECVMSG receive = receiveMessage(m_event.socket);
    if (!receive)
        return false;
    WSAResetEvent(m_block->event);
    m_block->datagram = buffer;
    m_block->part = {static_cast<ULONG>(buffer->data.size()),
                     reinterpret_cast<char*>(buffer->data.data())};
    m_block->message = {};
    m_block->message.lpBuffers = &m_block->part;
    m_block->message.dwBufferCount = 1;
    m_block->message.Control = {sizeof m_block->control, m_block->control};
    m_block->message.name = reinterpret_cast<sockaddr*>(&m_block->source);
    m_block->message.namelen = sizeof m_block->source;
    m_block->begin(m_loop.port());
    // Also what is there at once comes through the port.
    const int result =
        receive(m_event.socket, &m_block->message, nullptr, &m_block->overlapped, nullptr);
    if (result != 0 && WSAGetLastError() != WSA_IO_PENDING) {
        m_block->datagram.reset();
        m_block->takeBack(m_loop.port());
    }
    return false;
}

bool Readiness::isPending() const
{
    return m_block->overlapped.Internal == static_cast<ULONG_PTR>(STATUS_PENDING);
}

} // namespace zel::sys
