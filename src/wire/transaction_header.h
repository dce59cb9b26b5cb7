#pragma once

#include "byte_cursor.h"

#include <array>
#include <cstdint>
#include <optional>

namespace zel {

enum class TransactionType : std::uint16_t {
    request = 1,
    response = 2,
    responsePending = 3,
    requestSegmentInit = 16,
    requestSegment = 17,
    requestSegmentAck = 18,
    responseSegmentInit = 19,
    responseSegment = 20,
    responseSegmentAck = 21,
};

/// The name that the log shows for a type; "unknown" for a value outside the protocol.
const char* transactionTypeName(TransactionType type);

/// The node id of all modules, and the one that none has.
inline constexpr std::uint64_t kBroadcastNode = 0x8ffffffffffffffe;
inline constexpr std::uint64_t kNoModule = 0xffffffffffffffff;

/// Opens every transaction telegram. It names no source: that is the connection it came on.
struct TransactionHeader {
    static constexpr std::size_t kSize = 12;

    TransactionType type = TransactionType::request;
    std::uint16_t label = 0;
    std::uint64_t destination = 0;

    std::array<std::byte, kSize> encode() const;
    static std::optional<TransactionHeader> decode(ByteReader& in);
};

} // namespace zel
