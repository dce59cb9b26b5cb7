#include "cl_multicast_server.h"

#include "frame.h"
#include "logger.h"
#include "native_datagram.h"
#include "telegram_container.h"
#include "udp_connection.h"
#include "ZEL_VR_Framework.h"

#include <exception>

namespace zel {

namespace {

constexpr const char* kGroup = "224.0.0.1";
constexpr std::uint32_t kPort = 1300;
constexpr std::uint32_t kTimeToLive = 1;
constexpr std::size_t kLargestDatagram = 10000;

void log(LogLevel level, const std::string& text)
{
    logger().write(level, LogCategory::transactions, text);
}

bool hasAddress(const sys::HostAdapter& adapter)
{
    return !adapter.addresses.empty() && adapter.addresses.back().address != "0.0.0.0";
}

} // namespace

clMulticastServer::clMulticastServer(sys::EventLoop& loop, iDatagramHandler& handler)
    : m_handler(handler), m_server(loop)
{
    m_isStarted = m_server.start(kGroup, kPort, [this](Bytes datagram, std::uint32_t index) {
        listenToSocket(datagram, index);
    }) == 0;
    if (!m_isStarted)
        log(LogLevel::warning, "clMulticastServer: UDP port " + std::to_string(kPort) +
                                   " cannot be used, multicasts will not be heard");
    refresh();
}

clMulticastServer::~clMulticastServer()
{
    m_server.stop();
}

std::vector<sys::HostAdapter> clMulticastServer::refresh()
{
    std::vector<sys::HostAdapter> adapters = sys::listHostAdapters();
    const std::lock_guard lock{m_mutex};
    m_adapters = adapters;
    std::set<std::string> present;
    for (const sys::HostAdapter& adapter : adapters) {
        std::uint32_t address = 0;
        if (!hasAddress(adapter) ||
            !communication::native::parseAddress(adapter.addresses.back().address, address))
            continue;
        // An adapter that went and came again has to be joined again.
        const std::string key =
            std::to_string(adapter.interfaceIndex) + " " + adapter.addresses.back().address;
        present.insert(key);
        if (m_isStarted && !m_joined.contains(key))
            m_server.joinGroup(address);
    }
    m_joined = std::move(present);
    return adapters;
}

std::int32_t clMulticastServer::send(std::optional<std::uint32_t> interfaceIndex, Bytes telegram)
{
    bool hasLeft = false;
    for (const sys::HostAdapter& adapter : refresh()) {
        if (!m_isStarted || !hasAddress(adapter) ||
            (interfaceIndex && adapter.interfaceIndex != *interfaceIndex))
            continue;
        hasLeft = m_server.sendOverInterface(adapter, telegram.data(), telegram.size(),
                                             kTimeToLive) == 0 ||
                  hasLeft;
    }
    return hasLeft ? ZEL_OK : ZEL_CONN_SEND_FAILED;
}

void clMulticastServer::listenToSocket(Bytes datagram, std::uint32_t interfaceIndex)
{
    if (datagram.size() > kLargestDatagram)
        return;
    std::uint64_t source = 0;
    auto telegram = unframe(datagram, source);
    if (!telegram)
        return;
    if (logger().isOn(LogCategory::transactions))
        log(LogLevel::info, frameLogLine(FrameHeader::decode(datagram.first<kFrameHeaderSize>()),
                                         FrameDirection::received));
    try {
        m_handler.datagramArrived(source, interfaceIndex, std::move(telegram));
    } catch (const std::exception& failure) {
        log(LogLevel::warning,
            std::string{"clMulticastServer::listenToSocket(): caught exception "} + failure.what());
    }
}

} // namespace zel
