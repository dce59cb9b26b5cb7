#include "datagram_receiver.h"

#include "logger.h"
#include "native_datagram.h"

#include <exception>

namespace zel::communication {

namespace {

constexpr int kBatch = 32;

} // namespace

DatagramReceiver::DatagramReceiver(sys::EventLoop& loop)
    : m_readiness(loop), m_buffer(std::make_shared<sys::DatagramBuffer>())
{
}

DatagramReceiver::~DatagramReceiver()
{
    const sys::NativeSocket socket = m_readiness.event().socket;
    if (socket == sys::kNoSocket)
        return;
    m_readiness.loop().eraseEvent(m_readiness.event());
    m_readiness.retire();
    native::closeDatagram(socket);
}

bool DatagramReceiver::start(sys::NativeSocket socket, Take take)
{
    m_take = std::move(take);
    m_readiness.setSocket(socket);
    m_readiness.expectDatagrams();
    if (m_readiness.loop().addEvent(m_readiness.event(), [this] { return onReadable(); }) != 0)
        return false;
    m_readiness.arm();
    return true;
}

int DatagramReceiver::onReadable()
{
    int count = 0;
    while (count < kBatch && m_readiness.nextDatagram(m_buffer)) {
        ++count;
        try {
            m_take({m_buffer->data.data(), m_buffer->size}, m_buffer->interfaceIndex);
        } catch (const std::exception&) {
            logTransaction(LogLevel::warning, "DatagramReceiver: no memory for a datagram");
        }
    }
    // The system is asked anew, which puts the socket behind the others.
    if (count == kBatch)
        m_readiness.loop().takeBack(m_readiness.event());
    return 0;
}

} // namespace zel::communication
