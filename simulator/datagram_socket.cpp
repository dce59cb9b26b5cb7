#include "datagram_socket.h"

#include "socket_twin.h"

#include <stdexcept>

#include <asio/ip/multicast.hpp>

namespace zel::simulator {

namespace {

constexpr std::size_t kLargestDatagram = 65536;
/// So many are taken in a row before something else gets its turn.
constexpr int kBatch = 64;

} // namespace

DatagramSocket::DatagramSocket(asio::io_context& context, std::uint16_t port)
    : m_socket(context), m_buffer(kLargestDatagram)
{
    const asio::ip::udp::endpoint any{asio::ip::udp::v4(), port};
    m_socket.open(any.protocol());
    m_socket.set_option(asio::socket_base::reuse_address{true});
    m_socket.set_option(asio::socket_base::broadcast{true});
    m_socket.set_option(asio::ip::multicast::enable_loopback{false});
    m_socket.non_blocking(true);
    socket_twin::tellAdapters(m_socket.native_handle());
    std::error_code failure;
    m_socket.bind(any, failure);
    if (failure)
        throw std::runtime_error("cannot listen on UDP port " + std::to_string(port) + ": " +
                                 failure.message());
}

void DatagramSocket::join(const asio::ip::address_v4& group, const asio::ip::address_v4& adapter)
{
    std::error_code alreadyIn;
    m_socket.set_option(asio::ip::multicast::join_group{group, adapter}, alreadyIn);
}

void DatagramSocket::receive(std::function<void(Datagram)> take)
{
    m_take = std::move(take);
    wait();
}

void DatagramSocket::wait()
{
    m_socket.async_wait(asio::ip::udp::socket::wait_read, [this](const std::error_code& error) {
        if (error)
            return;
        for (int taken = 0; taken < kBatch && readOne(); ++taken) {
        }
        wait();
    });
}

bool DatagramSocket::readOne()
{
    Datagram datagram;
    const std::ptrdiff_t size =
        socket_twin::receive(m_socket.native_handle(), m_buffer, datagram.interfaceIndex);
    if (size < 0)
        return false;
    datagram.bytes.assign(m_buffer.begin(), m_buffer.begin() + size);
    m_take(std::move(datagram));
    return true;
}

void DatagramSocket::send(Bytes bytes, const asio::ip::udp::endpoint& to,
                          std::uint32_t interfaceIndex, const asio::ip::address_v4& from)
{
    socket_twin::send(m_socket.native_handle(), bytes, to, interfaceIndex, from);
}

} // namespace zel::simulator
