#pragma once

#include "cl_multicast_server.h"
#include "method_request.h"
#include "requestor_broadcast.h"
#include "requestor_context.h"
#include "udp_connection.h"

#include <optional>

namespace zel {

// Two of the ways to modules that are not connected. Without an index they go over every adapter.

/// What the two share: each request is one transaction by datagrams.
class clDatagramContext : public iRequestorContext, public iDatagramSender {
public:
    std::shared_ptr<clRequestorBase> createRequestor(std::uint64_t target) final;
};

class clMulticastContext final : public clDatagramContext {
public:
    explicit clMulticastContext(clMulticastServer& server,
                                std::optional<std::uint32_t> interfaceIndex = {})
        : m_server(server), m_interfaceIndex(interfaceIndex)
    {
    }

    sys::EventLoop& loop() const override { return m_server.loop(); }
    std::int32_t sendDatagram(Bytes telegram) override;

private:
    clMulticastServer& m_server;
    const std::optional<std::uint32_t> m_interfaceIndex;
};

class clBroadcastContext final : public clDatagramContext {
public:
    explicit clBroadcastContext(clUDPConnection& connection,
                                std::optional<std::uint32_t> interfaceIndex = {})
        : m_connection(connection), m_interfaceIndex(interfaceIndex)
    {
    }

    sys::EventLoop& loop() const override { return m_connection.loop(); }
    std::int32_t sendDatagram(Bytes telegram) override;

private:
    clUDPConnection& m_connection;
    const std::optional<std::uint32_t> m_interfaceIndex;
};

/// How a request reaches one module without a connection: by multicast, or at once by broadcast
/// where no multicast could leave; the second attempt goes by broadcast.
class clDatagramWays {
public:
    clDatagramWays(clMulticastServer& multicasts, clUDPConnection& broadcasts)
        : m_first(multicasts, broadcasts), m_second(broadcasts)
    {
    }

    /// Valid as long as this object.
    RequestPath path() { return {m_first, &m_second}; }

private:
    class First final : public clDatagramContext {
    public:
        First(clMulticastServer& multicasts, clUDPConnection& broadcasts)
            : m_multicast(multicasts), m_broadcast(broadcasts)
        {
        }

        sys::EventLoop& loop() const override { return m_multicast.loop(); }
        std::int32_t sendDatagram(Bytes telegram) override;

    private:
        clMulticastContext m_multicast;
        clBroadcastContext m_broadcast;
    };

    First m_first;
    clBroadcastContext m_second;
};

} // namespace zel
