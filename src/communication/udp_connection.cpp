#include "udp_connection.h"

#include "datagram_frame.h"
#include "logger.h"
#include "native_datagram.h"
#include "shortage.h"
#include "telegram_container.h"
#include "text_handler.h"
#include "ZEL_VR_Framework.h"

#include <string>
#include <utility>

namespace zel {

namespace {

namespace native = communication::native;

constexpr std::uint16_t kModulePort = 1200;
constexpr std::uint16_t kHostPort = 1201;
constexpr std::uint32_t kBroadcastAddress = 0xFFFFFFFF;
constexpr int kReceiveBuffer = 128000;

template <class Text>
void log(Text&& text)
{
    logTransaction(LogLevel::warning, std::forward<Text>(text));
}

/// kNoSocket where the system has none for a reason that stays.
sys::NativeSocket openSocket()
{
    const sys::NativeSocket socket = native::openDatagram();
    if (socket == sys::kNoSocket) {
        if (const std::error_code shortage = sys::lastShortage())
            throw std::system_error{shortage};
    }
    return socket;
}

int failed(const char* where, std::int32_t code)
{
    log([&] { return std::string{"clUDPConnection::"} + where + "(): " + logText(code); });
    return -1;
}

} // namespace

clUDPConnection::clUDPConnection(sys::EventLoop& loop, iDatagramHandler& handler)
    : m_handler(handler), m_receiver(loop)
{
    if (setRecvInterface() != 0)
        log([] {
            return "clUDPConnection::setRecvInterface(): UDP port " + std::to_string(kHostPort) +
                   " cannot be used, answers to broadcasts will not be heard";
        });
    setSendInterface();
}

clUDPConnection::~clUDPConnection()
{
    if (m_sendSocket != sys::kNoSocket)
        native::closeDatagram(m_sendSocket);
}

int clUDPConnection::setRecvInterface()
{
    const sys::NativeSocket socket = openSocket();
    if (socket == sys::kNoSocket)
        return -1;
    int result = -1;
    if (native::setReceiveBuffer(socket, kReceiveBuffer) && native::setPacketInfo(socket)) {
        if (!native::setReuseAddress(socket))
            result = failed("setRecvInterface", ZEL_UDP_REUSE_ADDRESS);
        else if (native::bindToPort(socket, kHostPort) &&
                 sys::Readiness::canReceiveDatagrams(socket))
            result = 0;
    }
    if (result != 0) {
        native::closeDatagram(socket);
        return result;
    }
    const bool isWatched = m_receiver.start(socket, [this](Bytes datagram, std::uint32_t index) {
        std::uint64_t source = 0;
        if (auto telegram = unframe(datagram, source))
            m_handler.datagramArrived(source, index, std::move(telegram));
    });
    return isWatched ? 0 : -1;
}

int clUDPConnection::setSendInterface()
{
    m_sendSocket = openSocket();
    if (m_sendSocket == sys::kNoSocket)
        return -1;
    return native::setBroadcast(m_sendSocket) ? 0 : failed("setSendInterface", ZEL_UDP_BROADCAST);
}

std::int32_t clUDPConnection::sendOver(std::uint32_t interfaceIndex, Bytes data)
{
    const std::lock_guard lock{m_sendMutex};
    // Also without a choice: the last one must not hold for this datagram.
    if (m_sendSocket != sys::kNoSocket &&
        !native::setBroadcastInterface(m_sendSocket, interfaceIndex)) {
        log([&] {
            return "clUDPConnection::sendOver(): interface " + std::to_string(interfaceIndex) +
                   " cannot be chosen";
        });
        return ZEL_CONN_SEND_FAILED;
    }
    if (m_sendSocket != sys::kNoSocket &&
        native::sendTo(m_sendSocket, data, kBroadcastAddress, kModulePort))
        return ZEL_OK;
    log("clUDPConnection::send(): UDPSocket error on sendto()");
    return ZEL_CONN_SEND_FAILED;
}

} // namespace zel
