#include "datagram_frame.h"

#include "frame.h"
#include "telegram_container.h"

#include <cstring>

namespace zel {

std::unique_ptr<clRxTelContainer> unframe(Bytes datagram, std::uint64_t& source)
{
    if (datagram.size() < kFrameHeaderSize + kFrameTrailerSize)
        return nullptr;
    const FrameHeader header = FrameHeader::decode(datagram.first<kFrameHeaderSize>());
    if (!header.isValid() ||
        decodeFrameTrailer(datagram.last<kFrameTrailerSize>()) != kFrameTrailer)
        return nullptr;
    source = header.source;
    const Bytes payload =
        datagram.subspan(kFrameHeaderSize, datagram.size() - kFrameHeaderSize - kFrameTrailerSize);
    auto telegram = std::make_unique<clRxTelContainer>(payload.size());
    if (!payload.empty())
        std::memcpy(telegram->writable().data(), payload.data(), payload.size());
    return telegram;
}

} // namespace zel
