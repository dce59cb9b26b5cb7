#include "datagram_contexts.h"

#include "ZEL_VR_Framework.h"

namespace zel {

std::shared_ptr<clRequestorBase> clDatagramContext::createRequestor(std::uint64_t target)
{
    return std::make_shared<clRequestorBroadcast>(target, *this);
}

std::int32_t clMulticastContext::sendDatagram(Bytes telegram)
{
    return m_server.send(m_interfaceIndex, telegram);
}

std::int32_t clBroadcastContext::sendDatagram(Bytes telegram)
{
    if (m_interfaceIndex)
        return m_connection.sendOver(*m_interfaceIndex, telegram);
    // The system would send it over one adapter of its choice only.
    bool hasLeft = false;
    for (const sys::HostAdapter& adapter : sys::listHostAdapters())
        if (sys::hasAddress(adapter))
            hasLeft = m_connection.sendOver(adapter.interfaceIndex, telegram) == ZEL_OK || hasLeft;
    return hasLeft ? ZEL_OK : m_connection.sendOver(clUDPConnection::kAnyInterface, telegram);
}

std::int32_t clDatagramWays::First::sendDatagram(Bytes telegram)
{
    const std::int32_t result = m_multicast.sendDatagram(telegram);
    return result == ZEL_OK ? result : m_broadcast.sendDatagram(telegram);
}

} // namespace zel
