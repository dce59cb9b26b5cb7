#pragma once

#include <cstdint>
#include <string>

namespace zel::acquisition {

/// "2026-01-02T03:04:05.123456789Z", of nanoseconds since 1970.
std::string isoTime(std::uint64_t nanoseconds);

} // namespace zel::acquisition
