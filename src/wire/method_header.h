#pragma once

#include "byte_cursor.h"

#include <array>
#include <cstdint>
#include <optional>

namespace zel {

/// Opens the payload of a request transaction: which method of which service is called.
struct MethodRequestHeader {
    static constexpr std::size_t kSize = 4;

    std::uint16_t service = 0;
    std::uint16_t method = 0;

    std::array<std::byte, kSize> encode() const;
    static std::optional<MethodRequestHeader> decode(ByteReader& in);
};

/// Opens the payload of a response transaction: the request's ids again and the module's result.
struct MethodResponseHeader {
    static constexpr std::size_t kSize = 8;

    std::uint16_t service = 0;
    std::uint16_t method = 0;
    std::int32_t result = 0;

    std::array<std::byte, kSize> encode() const;
    static std::optional<MethodResponseHeader> decode(ByteReader& in);
};

} // namespace zel
