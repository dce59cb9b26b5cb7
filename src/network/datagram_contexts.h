#pragma once

#include "cl_multicast_server.h"
#include "method_request.h"
#include "requestor_broadcast.h"
#include "requestor_context.h"
#include "udp_connection.h"

#include <optional>

namespace zel {

/// One of the ways to modules that are not connected: each request is one transaction by datagrams.
class clDatagramContext final : public iRequestorContext {
public:
    clDatagramContext(sys::EventLoop& loop, SendDatagram send)
        : m_loop(loop), m_send(std::move(send))
    {
    }

    std::shared_ptr<clRequestorBase> createRequestor(std::uint64_t target) override
    {
        return std::make_shared<clRequestorBroadcast>(target, m_loop, m_send);
    }

private:
    sys::EventLoop& m_loop;
    const SendDatagram m_send;
};

// Without an index they go over every adapter.
clDatagramContext byMulticast(clMulticastServer& server,
                              std::optional<std::uint32_t> interfaceIndex = {});
clDatagramContext byBroadcast(clUDPConnection& connection,
                              std::optional<std::uint32_t> interfaceIndex = {});

/// How a request reaches one module without a connection: by multicast, or at once by broadcast
/// where no multicast could leave; the second attempt goes by broadcast.
class clDatagramWays {
public:
    clDatagramWays(clMulticastServer& multicasts, clUDPConnection& broadcasts);

    /// Valid as long as this object.
    RequestPath path() { return {m_first, &m_second}; }

private:
    clDatagramContext m_first;
    clDatagramContext m_second;
};

} // namespace zel
