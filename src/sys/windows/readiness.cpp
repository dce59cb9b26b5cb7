#include "readiness.h"

#include "readiness_block.h"

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

bool Readiness::isPending() const
{
    return m_block->overlapped.Internal == static_cast<ULONG_PTR>(STATUS_PENDING);
}

} // namespace zel::sys
