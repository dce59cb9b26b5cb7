#pragma once

#include "multicast_server.h"
#include "mutex.h"
#include "transaction_listener.h"

#include <compare>
#include <cstdint>
#include <optional>
#include <set>
#include <vector>

namespace zel {

/// The multicast path: group 224.0.0.1, port 1300, on every adapter of the host.
class clMulticastServer {
public:
    /// Where the port cannot be had, the log says so and the path is dead. Throws std::system_error
    /// where the host has no descriptors or memory left.
    clMulticastServer(sys::EventLoop& loop, iDatagramHandler& handler);
    clMulticastServer(const clMulticastServer&) = delete;
    clMulticastServer& operator=(const clMulticastServer&) = delete;

    sys::EventLoop& loop() const { return m_server.loop(); }

    /// Asks the system for its adapters, joins the group on those that are new or could not be
    /// joined before, and leaves it on those that are gone. Any thread.
    std::vector<sys::HostAdapter> refresh();

    /// Sends over every adapter, or over the one with this index; 0 when it left over at least one,
    /// else ZEL_CONN_SEND_FAILED. Any thread.
    std::int32_t send(std::optional<std::uint32_t> interfaceIndex, Bytes telegram);

private:
    /// What the group is joined on: an adapter that went and came again is another one.
    struct Membership {
        std::uint32_t interfaceIndex = 0;
        std::uint32_t address = 0; // in the network's byte order
        auto operator<=>(const Membership&) const = default;
    };

    void joinLocked(const std::set<Membership>& present);
    void listenToSocket(Bytes datagram, std::uint32_t interfaceIndex);

    iDatagramHandler& m_handler;

    Mutex m_mutex;
    std::set<Membership> m_joined; // under m_mutex

    bool m_isStarted = false; // fixed at construction
    communication::MulticastServer m_server;
};

} // namespace zel
