#include "connect.h"

#include "address_list.h"
#include "address_resolution.h"
#include "connection_table.h"
#include "frame.h"
#include "logger.h"
#include "own_uuid.h"
#include "socket_nonblocking.h"
#include "sync_method_request.h"
#include "text_stream.h"
#include "ZEL_VR_Framework.h"

#include <array>

namespace zel {

namespace {

using communication::AddressList;
using communication::SocketNonblocking;
using Life = clTcpTelHndlr::Life;

constexpr int kAddressResolutionMs = 5000;
constexpr std::size_t kRequestSize =
    kFrameHeaderSize + AddressResolutionRequest::kSize + kFrameTrailerSize;
constexpr std::size_t kResponseSize =
    kFrameHeaderSize + AddressResolutionResponse::kSize + kFrameTrailerSize;

void logAddressResolution(const char* direction, const char* type, std::uint16_t label,
                          std::optional<std::uint64_t> uuid)
{
    logTransaction(LogLevel::info, [&] {
        TextStream line;
        line << "AdrRes  : " << direction << " Type: " << type << " Label: " << label;
        if (uuid)
            line << " ReqUUID: " << std::hex << *uuid;
        return line.str();
    });
}

bool sendAddressRequest(SocketNonblocking& socket)
{
    const AddressResolutionRequest request;
    std::array<std::byte, kRequestSize> telegram;
    ByteWriter out{telegram};
    out.bytes(FrameHeader{.type = TelegramType::addressResolution,
                          .payloadLength = AddressResolutionRequest::kSize,
                          .source = ownUuid()}
                  .encode());
    out.bytes(request.encode());
    out.bytes(encodeFrameTrailer());
    logAddressResolution("tx: ", "REQU_INI", request.label, {});
    return socket.sendBlock(telegram) == static_cast<int>(telegram.size());
}

std::optional<AddressResolutionResponse>
decodeAddressResponse(std::span<const std::byte, kResponseSize> telegram)
{
    const auto header = FrameHeader::decode(telegram.first<kFrameHeaderSize>());
    if (!header.isValid() || header.type != TelegramType::addressResolution ||
        header.payloadLength != AddressResolutionResponse::kSize ||
        decodeFrameTrailer(telegram.last<kFrameTrailerSize>()) != kFrameTrailer)
        return {};
    ByteReader in{telegram.subspan<kFrameHeaderSize, AddressResolutionResponse::kSize>()};
    return AddressResolutionResponse::decode(in);
}

/// The module's UUID, or kNoUuid.
std::uint64_t resolveAddress(SocketNonblocking& socket)
{
    std::array<std::byte, kResponseSize> telegram;
    if (!sendAddressRequest(socket) ||
        socket.receiveComplete(telegram, kAddressResolutionMs) != static_cast<int>(kResponseSize))
        return kNoUuid;
    const auto response = decodeAddressResponse(telegram);
    logAddressResolution("rx: ", response ? "RESPONSE" : "UNKNOWN", response ? response->label : 0,
                         response ? response->uuid : kNoUuid);
    return response ? response->uuid : kNoUuid;
}

/// Whether the module is heard on an existing connection: since then, or when it is asked.
bool isAlive(const clTcpTelHndlr& connection, clTcpTelHndlr::Clock::time_point since,
             const RequestPath& path)
{
    if (connection.hasHeardSince(since))
        return true;
    if (connection.life() == Life::silent)
        return false;
    // Which modules it knows: changes nothing, and any answer will do.
    clSyncMthdReqrSrv{{connection.peer(), wire::StatusMethod::getConnectedModules}, {}, path}
        .execute();
    return connection.hasHeardSince(since);
}

} // namespace

std::int32_t connectToModule(clConHndlr& connections, const std::string& host, std::uint16_t port,
                             std::uint64_t& uuid)
{
    const AddressList addresses{host, std::to_string(port)};
    if (addresses.isEmpty())
        return ZEL_TCP_CONNECT_FAILED;
    const AddressList::Entry& address = addresses.first();
    const RequestPath path{connections};
    const auto begun = clTcpTelHndlr::Clock::now();
    const auto known = connections.findByAddress(address.address(), address.length());
    if (known && (known->life() == Life::heard || isAlive(*known, begun, path))) {
        uuid = known->peer();
        return ZEL_OK;
    }
    auto socket = std::make_shared<SocketNonblocking>(connections.loop());
    if (socket->connect(address.family, address.address(), address.length()) != 0)
        return ZEL_TCP_CONNECT_FAILED;
    const std::uint64_t peer = resolveAddress(*socket);
    if (peer == kNoUuid)
        return ZEL_CONN_NO_ADDRESS_RESPONSE;
    if (known)
        connections.erase(*known);
    const auto fresh = std::make_shared<clTcpTelHndlr>(std::move(socket), peer, ownUuid(),
                                                       connections.transactions());
    // A module that is connected already, by another address, keeps its connection while that one
    // is alive; the one that it has answered on just now is.
    auto kept = connections.insert(fresh);
    while (kept && kept != fresh && !isAlive(*kept, begun, path)) {
        connections.erase(*kept);
        kept = connections.insert(fresh);
    }
    if (!kept)
        return ZEL_TCP_CONNECT_FAILED;
    uuid = peer;
    return ZEL_OK;
}

std::uint64_t disconnectByAddress(clConHndlr& connections, const std::string& host,
                                  std::uint16_t port)
{
    const AddressList addresses{host, std::to_string(port)};
    for (const AddressList::Entry& address : addresses.entries()) {
        const std::uint64_t uuid = connections.eraseByAddress(address.address(), address.length());
        if (uuid != kNoUuid)
            return uuid;
    }
    return kNoUuid;
}

} // namespace zel
