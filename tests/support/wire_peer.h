#pragma once

#include "waiting.h"

#include <cstdint>
#include <string>
#include <string_view>

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>

namespace zel::test {

/// A module that a test plays by hand, byte by byte: one listening socket and at most one
/// connection. Every function gives up after some seconds and throws std::runtime_error.
class WirePeer {
public:
    /// `backlog` bounds the connections that the system makes before accept() takes them.
    explicit WirePeer(int backlog = 16);

    std::uint16_t port() const { return m_port; }
    std::string portText() const { return std::to_string(m_port); }

    void accept();
    void connectTo(std::uint16_t port);
    std::string read(std::size_t size);
    /// The next whole telegram.
    std::string readTelegram();
    void write(std::string_view bytes);
    void close();
    /// Ends the connection with RST.
    void reset();
    /// True when the other side ends the connection without sending anything more.
    bool isClosedByOther();

private:
    template <class Start>
    std::size_t within(Milliseconds time, Start start, std::error_code& error);

    asio::io_context m_context;
    asio::ip::tcp::acceptor m_acceptor;
    asio::ip::tcp::socket m_socket;
    std::uint16_t m_port;
};

} // namespace zel::test
