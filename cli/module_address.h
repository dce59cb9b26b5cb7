#pragma once

#include <cstdint>
#include <optional>
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

/// What a person types for a module: an address, a host's name, the module's own name or its UUID.
struct ModuleTarget {
    std::string text;
    std::optional<ModuleAddress> address; ///< to try first
    bool mayBeName = false;               ///< of a module, or a UUID: a scan finds it

    /// Throws CommandFailure for what is neither.
    static ModuleTarget parse(const std::string& text);
};

} // namespace zel::cli
