#pragma once

#include "datagram_handler.h"
#include "multicast_server.h"

#include <mutex>
#include <optional>
#include <set>
#include <vector>

namespace zel {

/// The multicast path: group 224.0.0.1, port 1300, on every adapter of the host.
class clMulticastServer {
public:
    /// Where the port cannot be had, the log says so and the path is dead.
    clMulticastServer(sys::EventLoop& loop, iDatagramHandler& handler);
    virtual ~clMulticastServer();
    clMulticastServer(const clMulticastServer&) = delete;
    clMulticastServer& operator=(const clMulticastServer&) = delete;

    /// Asks the system for its adapters and joins the group on those that are new. Any thread.
    std::vector<sys::HostAdapter> refresh();

    /// Sends over every adapter, or over the one with this index; 0 when it left over one at least,
    /// else ZEL_CONN_SEND_FAILED. Any thread.
    std::int32_t send(std::optional<std::uint32_t> interfaceIndex, Bytes telegram);

private:
    void listenToSocket(Bytes datagram, std::uint32_t interfaceIndex);

    iDatagramHandler& m_handler;

    std::mutex m_mutex;
    std::vector<sys::HostAdapter> m_adapters; // under m_mutex
    std::set<std::string> m_joined;           // addresses, under m_mutex

    bool m_isStarted = false; // fixed at construction
    communication::MulticastServer m_server;
};

} // namespace zel
