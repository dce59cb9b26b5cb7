#pragma once

#include "byte_cursor.h"

#include <array>
#include <cstdint>
#include <string>

namespace zel {

enum class TelegramType : std::uint8_t { transaction = 1, addressResolution = 2 };

inline constexpr std::uint32_t kFrameStart = 0x12345678;
inline constexpr std::uint32_t kFrameTrailer = 0x87654321;
inline constexpr std::size_t kFrameHeaderSize = 16;
inline constexpr std::size_t kFrameTrailerSize = 4;

/// The connection frame's header, which stands before every payload on TCP and in datagrams.
struct FrameHeader {
    std::uint32_t start = kFrameStart;
    std::uint8_t headerLength = kFrameHeaderSize;
    TelegramType type = TelegramType::transaction;
    std::uint16_t payloadLength = 0;
    std::uint64_t source = 0;

    std::array<std::byte, kFrameHeaderSize> encode() const;
    /// Decodes without judging: the caller logs wrong headers before it refuses them.
    static FrameHeader decode(std::span<const std::byte, kFrameHeaderSize> bytes);

    bool isValid() const { return start == kFrameStart && headerLength == kFrameHeaderSize; }
};

std::array<std::byte, kFrameTrailerSize> encodeFrameTrailer();
std::uint32_t decodeFrameTrailer(std::span<const std::byte, kFrameTrailerSize> bytes);

enum class FrameDirection { received, sent };

/// The line that the transaction log shows for one frame.
std::string frameLogLine(const FrameHeader& header, FrameDirection direction);

} // namespace zel
