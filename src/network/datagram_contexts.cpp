#include "datagram_contexts.h"

#include "ZEL_VR_Framework.h"

namespace zel {

namespace {

std::int32_t broadcast(clUDPConnection& connection, std::optional<std::uint32_t> interfaceIndex,
                       Bytes telegram)
{
    if (interfaceIndex)
        return connection.sendOver(*interfaceIndex, telegram);
    // The system would send it over one adapter of its choice only.
    bool hasLeft = false;
    for (const sys::HostAdapter& adapter : sys::listHostAdapters())
        if (sys::hasAddress(adapter))
            hasLeft = connection.sendOver(adapter.interfaceIndex, telegram) == ZEL_OK || hasLeft;
    return hasLeft ? ZEL_OK : connection.sendOver(clUDPConnection::kAnyInterface, telegram);
}

} // namespace

clDatagramContext byMulticast(clMulticastServer& server,
                              std::optional<std::uint32_t> interfaceIndex)
{
    return {server.loop(), [&server, interfaceIndex](Bytes telegram) {
                return server.send(interfaceIndex, telegram);
            }};
}

clDatagramContext byBroadcast(clUDPConnection& connection,
                              std::optional<std::uint32_t> interfaceIndex)
{
    return {connection.loop(), [&connection, interfaceIndex](Bytes telegram) {
                return broadcast(connection, interfaceIndex, telegram);
            }};
}

clDatagramWays::clDatagramWays(clMulticastServer& multicasts, clUDPConnection& broadcasts)
    : m_first(multicasts.loop(),
              [&](Bytes telegram) {
                  const std::int32_t result = multicasts.send({}, telegram);
                  return result == ZEL_OK ? result : broadcast(broadcasts, {}, telegram);
              }),
      m_second(byBroadcast(broadcasts))
{
}

} // namespace zel
