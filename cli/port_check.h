#pragma once

#include <cstdint>
#include <string>

namespace zel::cli {

/// Why this process cannot have a UDP port for itself; empty when it can.
std::string whyPortCannotBeBound(std::uint16_t port);

} // namespace zel::cli
