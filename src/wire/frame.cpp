#include "frame.h"

#include "text_stream.h"

namespace zel {

std::array<std::byte, kFrameHeaderSize> FrameHeader::encode() const
{
    std::array<std::byte, kFrameHeaderSize> bytes;
    ByteWriter out{bytes};
    out.u32(start);
    out.u8(headerLength);
    out.u8(type);
    out.u16(payloadLength);
    out.u64(source);
    return bytes;
}

FrameHeader FrameHeader::decode(std::span<const std::byte, kFrameHeaderSize> bytes)
{
    ByteReader in{bytes};
    FrameHeader header;
    header.start = in.u32();
    header.headerLength = in.u8();
    header.type = in.u8<TelegramType>();
    header.payloadLength = in.u16();
    header.source = in.u64();
    return header;
}

std::array<std::byte, kFrameTrailerSize> encodeFrameTrailer()
{
    std::array<std::byte, kFrameTrailerSize> bytes;
    ByteWriter{bytes}.u32(kFrameTrailer);
    return bytes;
}

std::uint32_t decodeFrameTrailer(std::span<const std::byte, kFrameTrailerSize> bytes)
{
    return ByteReader{bytes}.u32();
}

std::string frameLogLine(const FrameHeader& header, FrameDirection direction)
{
    TextStream line;
    line << "Con     : ";
    if (header.start != kFrameStart)
        line << "STERR ";
    line << (direction == FrameDirection::received ? "rx" : "tx");
    line << " Hlen:" << unsigned{header.headerLength};
    line << " Src:" << std::hex << header.source << std::dec;
    line << " Type:";
    switch (header.type) {
    case TelegramType::transaction:
        line << " TRANS:";
        break;
    case TelegramType::addressResolution:
        line << " ADDR_RES:";
        break;
    default:
        line << " ERROR:";
    }
    line << " Dlen:" << header.payloadLength;
    return line.str();
}

} // namespace zel
