#pragma once

#include "byte_cursor.h"

#include <cstdint>
#include <functional>
#include <vector>

#include <asio/io_context.hpp>
#include <asio/ip/udp.hpp>

namespace zel::simulator {

/// A datagram and the adapter it came in by; 0 where the system does not tell.
struct Datagram {
    std::vector<std::byte> bytes;
    std::uint32_t interfaceIndex = 0;
};

/// One UDP port on all adapters, which it shares with other processes. Simulator's thread only.
class DatagramSocket {
public:
    /// Throws std::runtime_error when the port cannot be had.
    DatagramSocket(asio::io_context& context, std::uint16_t port);

    /// Joins a multicast group on the adapter with this address, once.
    void join(const asio::ip::address_v4& group, const asio::ip::address_v4& adapter);
    void receive(std::function<void(Datagram)> take);
    /// Sends over one adapter, from one of its addresses. What does not leave is lost, as
    /// datagrams are.
    void send(Bytes bytes, const asio::ip::udp::endpoint& to, std::uint32_t interfaceIndex,
              const asio::ip::address_v4& from);

private:
    void wait();
    bool readOne();

    asio::ip::udp::socket m_socket;
    std::function<void(Datagram)> m_take;
    std::vector<std::byte> m_buffer;
};

} // namespace zel::simulator
