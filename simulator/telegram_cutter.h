#pragma once

#include "frame.h"

#include <cstddef>
#include <vector>

namespace zel::simulator {

/// Cuts the stream from a host into telegrams, in whatever pieces it arrives.
class TelegramCutter {
public:
    /// Takes bytes and calls `deliver(header, payload)` for each telegram that they complete.
    /// Returns false on bytes that are no telegram: the stream is out of step and of no more use.
    template <class Deliver>
    bool feed(Bytes bytes, Deliver deliver)
    {
        m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
        std::size_t start = 0;
        bool good = true;
        while (good) {
            const Bytes rest = Bytes{m_bytes}.subspan(start);
            const std::size_t size = wholeSize(rest, good);
            if (!good || size == 0)
                break;
            const auto header = FrameHeader::decode(rest.first<kFrameHeaderSize>());
            deliver(header, rest.subspan(kFrameHeaderSize, header.payloadLength));
            start += size;
        }
        m_bytes.erase(m_bytes.begin(), m_bytes.begin() + static_cast<std::ptrdiff_t>(start));
        return good;
    }

private:
    /// The size of the telegram that `bytes` begin with, 0 while it is not whole.
    static std::size_t wholeSize(Bytes bytes, bool& good);

    std::vector<std::byte> m_bytes;
};

/// A telegram ready to be sent, its payload joined from parts.
std::vector<std::byte> composeTelegram(TelegramType type, std::uint64_t source,
                                       std::initializer_list<Bytes> payload);

} // namespace zel::simulator
