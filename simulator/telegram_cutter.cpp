#include "telegram_cutter.h"

namespace zel::simulator {

std::size_t TelegramCutter::wholeSize(Bytes bytes, bool& good)
{
    if (bytes.size() < kFrameHeaderSize)
        return 0;
    const auto header = FrameHeader::decode(bytes.first<kFrameHeaderSize>());
    good = header.isValid();
    const std::size_t size = kFrameHeaderSize + header.payloadLength + kFrameTrailerSize;
    if (!good || bytes.size() < size)
        return 0;
    good = decodeFrameTrailer(bytes.subspan(size - kFrameTrailerSize).first<kFrameTrailerSize>()) ==
           kFrameTrailer;
    return size;
}

std::vector<std::byte> composeTelegram(TelegramType type, std::uint64_t source,
                                       std::initializer_list<Bytes> payload)
{
    std::size_t length = 0;
    for (const Bytes part : payload)
        length += part.size();
    FrameHeader header;
    header.type = type;
    header.payloadLength = static_cast<std::uint16_t>(length);
    header.source = source;

    std::vector<std::byte> telegram;
    telegram.reserve(kFrameHeaderSize + length + kFrameTrailerSize);
    const auto append = [&telegram](Bytes part) {
        telegram.insert(telegram.end(), part.begin(), part.end());
    };
    append(header.encode());
    for (const Bytes part : payload)
        append(part);
    append(encodeFrameTrailer());
    return telegram;
}

} // namespace zel::simulator
