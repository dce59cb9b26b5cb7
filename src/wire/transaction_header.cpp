#include "transaction_header.h"

namespace zel {

const char* transactionTypeName(TransactionType type)
{
    switch (type) {
    case TransactionType::request:
        return "REQ";
    case TransactionType::response:
        return "RESP";
    case TransactionType::responsePending:
        return "RESP_PEND";
    case TransactionType::requestSegmentInit:
        return "REQ_SEG_INI";
    case TransactionType::requestSegment:
        return "REQ_SEG";
    case TransactionType::requestSegmentAck:
        return "REQ_SEG_ACK";
    case TransactionType::responseSegmentInit:
        return "RESP_SEG_INI";
    case TransactionType::responseSegment:
        return "RESP_SEG";
    case TransactionType::responseSegmentAck:
        return "RESP_SEG_ACK";
    }
    return "unknown";
}

std::array<std::byte, TransactionHeader::kSize> TransactionHeader::encode() const
{
    std::array<std::byte, kSize> bytes;
    ByteWriter out{bytes};
    out.u16(type);
    out.u16(label);
    out.u64(destination);
    return bytes;
}

std::optional<TransactionHeader> TransactionHeader::decode(ByteReader& in)
{
    const TransactionHeader header{in.u16<TransactionType>(), in.u16(), in.u64()};
    return in.good() ? std::optional{header} : std::nullopt;
}

} // namespace zel
