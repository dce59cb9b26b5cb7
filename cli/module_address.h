#pragma once

#include <cstdint>
#include <string>

namespace zel::cli {

inline constexpr std::uint16_t kDefaultModulePort = 55000;

/// Where a module listens: "host", "host:port", "[IPv6]" or "[IPv6]:port".
struct ModuleAddress {
    std::string host;
    std::uint16_t port = kDefaultModulePort;

    /// As a person would type it back.
    std::string text() const;

    /// Throws CommandFailure with an explanation when the text is no address.
    static ModuleAddress parse(const std::string& text);
};

} // namespace zel::cli
