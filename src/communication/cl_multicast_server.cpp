#include "cl_multicast_server.h"

#include "datagram_frame.h"
#include "frame.h"
#include "logger.h"
#include "native_datagram.h"
#include "telegram_container.h"
#include "ZEL_VR_Framework.h"

#include <exception>
#include <string>

namespace zel {

namespace {

constexpr const char* kGroup = "224.0.0.1";
constexpr std::uint32_t kPort = 1300;
constexpr std::uint32_t kTimeToLive = 1;
constexpr std::size_t kLargestDatagram = 10000;

/// What there is of a frame, whether it is valid or not.
void logReceived(Bytes datagram)
{
    if (!logger().isOn(LogCategory::transactions) || datagram.size() < kFrameHeaderSize)
        return;
    logTransaction(LogLevel::info, [&] {
        return frameLogLine(FrameHeader::decode(datagram.first<kFrameHeaderSize>()),
                            FrameDirection::received);
    });
    const Bytes behind = datagram.subspan(kFrameHeaderSize);
    if (behind.size() < kFrameTrailerSize ||
        decodeFrameTrailer(behind.last<kFrameTrailerSize>()) != kFrameTrailer)
        logTransaction(LogLevel::info, "FT_ERR");
}

} // namespace

clMulticastServer::clMulticastServer(sys::EventLoop& loop, iDatagramHandler& handler)
    : m_handler(handler), m_server(loop)
{
    m_isStarted = m_server.start(kGroup, kPort, [this](Bytes datagram, std::uint32_t index) {
        listenToSocket(datagram, index);
    }) == 0;
    if (const std::error_code shortage = m_server.shortage())
        throw std::system_error{shortage};
    if (!m_isStarted)
        logTransaction(LogLevel::warning, [] {
            return "clMulticastServer: UDP port " + std::to_string(kPort) +
                   " cannot be used, multicasts will not be heard";
        });
    refresh();
}

std::vector<sys::HostAdapter> clMulticastServer::refresh()
{
    // Before the list is made: an older list must not undo what a newer one has brought about.
    const std::lock_guard lock{m_mutex};
    std::vector<sys::HostAdapter> adapters = sys::listHostAdapters();
    std::set<Membership> present;
    for (const sys::HostAdapter& adapter : adapters) {
        std::uint32_t address = 0;
        if (hasAddress(adapter) &&
            communication::native::parseAddress(adapter.addresses.back().address, address))
            present.insert({adapter.interfaceIndex, address});
    }
    if (m_isStarted)
        joinLocked(present);
    return adapters;
}

void clMulticastServer::joinLocked(const std::set<Membership>& present)
{
    // First of all: the system knows memberships by address, which may have moved to another
    // adapter, and allows only so many for one socket.
    std::erase_if(m_joined, [&](const Membership& known) {
        const bool isGone = !present.contains(known);
        if (isGone)
            m_server.leaveGroup(known.address);
        return isGone;
    });
    for (const Membership& membership : present)
        if (!m_joined.contains(membership) && m_server.joinGroup(membership.address) >= 0)
            m_joined.insert(membership);
}

std::int32_t clMulticastServer::send(std::optional<std::uint32_t> interfaceIndex, Bytes telegram)
{
    bool hasLeft = false;
    for (const sys::HostAdapter& adapter : refresh()) {
        if (!m_isStarted || !hasAddress(adapter) ||
            (interfaceIndex && adapter.interfaceIndex != *interfaceIndex))
            continue;
        hasLeft = m_server.sendOverInterface(adapter, telegram, kTimeToLive) == 0 || hasLeft;
    }
    return hasLeft ? ZEL_OK : ZEL_CONN_SEND_FAILED;
}

void clMulticastServer::listenToSocket(Bytes datagram, std::uint32_t interfaceIndex)
{
    if (datagram.size() > kLargestDatagram)
        return;
    logReceived(datagram);
    try {
        std::uint64_t source = 0;
        if (auto telegram = unframe(datagram, source))
            m_handler.datagramArrived(source, interfaceIndex, std::move(telegram));
        else
            logTransaction(LogLevel::error, "connection frame check of request failed");
    } catch (const std::exception& failure) {
        logTransaction(LogLevel::warning, [&] {
            return std::string{"clMulticastServer::listenToSocket(): caught exception "} +
                   failure.what();
        });
    }
}

} // namespace zel
