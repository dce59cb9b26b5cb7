#pragma once

#include "byte_cursor.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

/// What the parameter service sends and reads, apart from the sending.
namespace zel::parameters {

/// The path, and "/" and the name where there is one.
std::string joinedPath(std::string_view path, std::string_view name);

std::string viewRequest(std::uint32_t view);
std::string pathRequest(std::uint32_t view, std::string_view path);
std::string documentRequest(std::uint32_t view, bool currentChoicesOnly);
std::string sectionRequest(std::uint32_t view, std::string_view path, bool currentChoicesOnly);
std::string writeDocumentRequest(std::uint32_t view, std::string_view document);
/// A section or the value of one parameter.
std::string writeSectionRequest(std::uint32_t view, std::string_view path,
                                std::string_view section);
std::string activateDefaultRequest(std::uint32_t view, std::string_view xpath);
std::string activateAllDefaultsRequest();

/// The channels of these count from 1, those on the wire from 0.
std::string readTedsRequest(std::uint32_t channel);
std::string writeTedsRequest(std::uint32_t channel, Bytes data);

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
