#pragma once

#include "byte_cursor.h"

#include <array>
#include <cstdint>

/// What the answers of the parameter service say.
namespace zel::parameters {

/// The child elements of the section's "Amplifier"; 0 where there is none or nothing that parses.
std::int32_t countConnectors(Bytes section);
/// The attribute "maxOccurs" of the element that a section's schema describes, else 0; never
/// negative.
std::int32_t maxOccurs(Bytes schema);

/// An answer to a TEDS request.
struct TedsAnswer {
    std::uint64_t identifier = 0;
    std::uint64_t size = 0; // of the data, in bytes; 0 in the answer to a write request

    /// Reads both elements of the answer to a read request and decodes the data if they fit.
    std::int32_t readData(Bytes payload, char* data, std::uint64_t capacity);
    /// Reads the identifier that answers a write request.
    std::int32_t readIdentifier(Bytes payload);
};

/// Sixteen hexadecimal characters and a zero byte.
inline constexpr std::size_t kTedsIdentifierSize = 17;

/// The identifier as its bytes lie in memory, the least significant first, so that it compares
/// equal with what other clients show.
std::array<char, kTedsIdentifierSize> tedsIdentifierText(std::uint64_t identifier);

/// What is left of a TEDS image without the zero bytes at its end.
Bytes withoutPadding(Bytes image);

} // namespace zel::parameters
