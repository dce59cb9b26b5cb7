#include "wire_peer.h"

#include <optional>
#include <stdexcept>

#include <asio/buffer.hpp>
#include <asio/read.hpp>
#include <asio/write.hpp>

namespace zel::test {

namespace {

using asio::ip::tcp;

constexpr Milliseconds kPatience = 8000ms;

tcp::endpoint loopback(std::uint16_t port)
{
    return {asio::ip::address_v4::loopback(), port};
}

void require(const std::error_code& error, const char* what)
{
    if (error)
        throw std::runtime_error(std::string{what} + ": " + error.message());
}

} // namespace

WirePeer::WirePeer(int backlog) : m_acceptor(m_context), m_socket(m_context)
{
    m_acceptor.open(tcp::v4());
    m_acceptor.bind(loopback(0));
    m_acceptor.listen(backlog);
    m_port = m_acceptor.local_endpoint().port();
}

template <class Start>
std::size_t WirePeer::within(Milliseconds time, Start start, std::error_code& error)
{
    std::optional<std::size_t> done;
    start([&](const std::error_code& result, std::size_t size) {
        error = result;
        done = size;
    });
    m_context.restart();
    m_context.run_for(time);
    if (done)
        return *done;
    m_socket.cancel();
    m_acceptor.cancel();
    m_context.restart();
    m_context.run();
    error = asio::error::timed_out;
    return 0;
}

void WirePeer::accept()
{
    std::error_code error;
    within(
        kPatience,
        [&](auto done) {
            m_acceptor.async_accept(m_socket,
                                    [done](const std::error_code& result) { done(result, 0); });
        },
        error);
    require(error, "accept");
    m_socket.set_option(tcp::no_delay{true});
}

void WirePeer::connectTo(std::uint16_t port)
{
    m_socket.connect(loopback(port));
}

std::string WirePeer::read(std::size_t size)
{
    std::string bytes(size, '\0');
    std::error_code error;
    within(
        kPatience, [&](auto done) { asio::async_read(m_socket, asio::buffer(bytes), done); },
        error);
    require(error, "read");
    return bytes;
}

std::string WirePeer::readTelegram()
{
    std::string telegram = read(16);
    const auto high = static_cast<unsigned char>(telegram[6]);
    const auto low = static_cast<unsigned char>(telegram[7]);
    return telegram + read(high * 256U + low + 4U);
}

void WirePeer::write(std::string_view bytes)
{
    std::error_code error;
    within(
        kPatience, [&](auto done) { asio::async_write(m_socket, asio::buffer(bytes), done); },
        error);
    require(error, "write");
}

void WirePeer::close()
{
    std::error_code ignored;
    m_socket.shutdown(tcp::socket::shutdown_both, ignored);
    m_socket.close(ignored);
}

void WirePeer::reset()
{
    m_socket.set_option(asio::socket_base::linger{true, 0});
    m_socket.close();
}

bool WirePeer::isClosedByOther()
{
    char byte = 0;
    std::error_code error;
    const std::size_t size = within(
        kPatience, [&](auto done) { m_socket.async_read_some(asio::buffer(&byte, 1), done); },
        error);
    return size == 0 && error && error != asio::error::timed_out;
}

} // namespace zel::test
