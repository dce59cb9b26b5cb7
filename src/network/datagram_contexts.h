#pragma once

#include "cl_multicast_server.h"
#include "requestor_broadcast.h"
#include "requestor_context.h"
#include "udp_connection.h"

#include <optional>

namespace zel {

// Two of the ways to modules that are not connected. A request that began through a context does
// not need it any more. Without an index they go over every adapter.

/// What the two share: each request is one transaction by datagrams.
class DatagramContext : public iRequestorContext, public iDatagramSender {
public:
    std::unique_ptr<clRequestorBase> createRequestor(std::uint64_t target, iTransactionOwner& owner,
                                                     sys::EventLoop& loop) final;
};

class MulticastContext final : public DatagramContext {
public:
    explicit MulticastContext(clMulticastServer& server,
                              std::optional<std::uint32_t> interfaceIndex = {})
        : m_server(server), m_interfaceIndex(interfaceIndex)
    {
    }

    std::int32_t sendDatagram(Bytes telegram) override;

private:
    clMulticastServer& m_server;
    const std::optional<std::uint32_t> m_interfaceIndex;
};

class BroadcastContext final : public DatagramContext {
public:
    explicit BroadcastContext(clUDPConnection& connection,
                              std::optional<std::uint32_t> interfaceIndex = {})
        : m_connection(connection), m_interfaceIndex(interfaceIndex)
    {
    }

    std::int32_t sendDatagram(Bytes telegram) override;

private:
    clUDPConnection& m_connection;
    const std::optional<std::uint32_t> m_interfaceIndex;
};

} // namespace zel
