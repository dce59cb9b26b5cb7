#pragma once

#include "byte_cursor.h"

#include <array>
#include <cstdint>
#include <optional>

namespace zel {

/// The exchange by which a fresh TCP connection learns the module's UUID: a telegram of the
/// address-resolution type with one of these two as payload.
struct AddressResolutionRequest {
    static constexpr std::size_t kSize = 4;
    static constexpr std::uint16_t kType = 1;

    std::uint16_t label = 0;

    std::array<std::byte, kSize> encode() const;
    static std::optional<AddressResolutionRequest> decode(ByteReader& in);
};

struct AddressResolutionResponse {
    static constexpr std::size_t kSize = 16;
    static constexpr std::uint16_t kType = 256;

    std::uint16_t label = 0;
    std::uint64_t uuid = 0;

    std::array<std::byte, kSize> encode() const;
    static std::optional<AddressResolutionResponse> decode(ByteReader& in);
};

} // namespace zel
