#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zel::cli {

/// One of this host's adapters, under the number that scans know it by.
struct Adapter {
    std::uint32_t number = 0;
    std::string name;
    std::string address; ///< empty without one
    std::string mask;
    std::string hardware;
};

/// A module that answered, and the adapter that heard it.
struct FoundModule {
    std::string address;
    std::string mask;
    std::uint32_t port = 0;
    std::string name;
    std::uint64_t uuid = 0;
    std::string type;
    std::string firmware;
    Adapter adapter;

    /// Whether this host can talk to it over the adapter as both are set.
    bool fits() const;
};

/// Works without a started library.
std::vector<Adapter> listAdapters();

/// Asks over every adapter at once, or over one; takes 3 seconds. The library must be started.
std::vector<FoundModule> scanNetwork(std::optional<std::uint32_t> adapter = {});

/// The module with this name, or with this UUID in decimal or behind "0x". Throws CommandFailure
/// where none or several answer to it.
FoundModule findModule(const std::string& nameOrUuid);

/// "192.168.169.0/24"
std::string networkText(const std::string& address, const std::string& mask);

} // namespace zel::cli
