#pragma once

#include "byte_cursor.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

#include <asio/ip/tcp.hpp>
#include <asio/ip/udp.hpp>

/// What the systems do differently with sockets and adapters.
namespace zel::simulator::socket_twin {

/// Lets a restarted module take its port although old connections still linger there.
void takeLingeringPort(asio::ip::tcp::acceptor& acceptor);

/// The adapters of this host but the loopback, by their IPv4 addresses; asked anew on every call.
std::map<std::string, std::uint32_t> interfacesByAddress();

using Handle = asio::ip::udp::socket::native_handle_type;

/// Asks the system to tell, from now on, by which adapter a datagram came in.
void tellAdapters(Handle socket);

/// One datagram that is there already: its size, or -1. `interfaceIndex` becomes 0 where the
/// system does not tell.
std::ptrdiff_t receive(Handle socket, MutableBytes buffer, std::uint32_t& interfaceIndex);

void send(Handle socket, Bytes bytes, const asio::ip::udp::endpoint& to,
          std::uint32_t interfaceIndex, const asio::ip::address_v4& from);

} // namespace zel::simulator::socket_twin
