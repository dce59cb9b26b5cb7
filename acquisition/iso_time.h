#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zel::acquisition {

/// "2026-01-02T03:04:05.123456789Z", of nanoseconds since 1970.
std::string isoTime(std::uint64_t nanoseconds);
/// The inverse; nothing for any other text, and for times that 64 bits cannot hold.
std::optional<std::uint64_t> timeOfIso(std::string_view text);

} // namespace zel::acquisition
