#pragma once

#include "module_address.h"

#include <cstdint>
#include <functional>
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

    /// Where it can be connected to. Throws CommandFailure where it tells none.
    ModuleAddress tcpAddress() const;
};

/// Works without a started library.
std::vector<Adapter> listAdapters();

/// Asks over every adapter at once, or over one; takes 3 seconds. The library must be started.
std::vector<FoundModule> scanNetwork(std::optional<std::uint32_t> adapter = {});

/// Asks over every adapter, again and again, until what has answered is enough, for 3 seconds at
/// most. The library must be started.
std::vector<FoundModule>
scanUntil(const std::function<bool(const std::vector<FoundModule>&)>& isEnough);

/// The one of the modules that has this name or UUID (in decimal, or behind "0x"), or else whose
/// name is the same but for upper and lower case, or else begins with it. Throws CommandFailure
/// where none or several do.
FoundModule chooseModule(const std::vector<FoundModule>& modules, const ModuleTarget& target);

/// Looks for the module, and ends as soon as one has answered to its whole name.
FoundModule findModule(const ModuleTarget& target);

/// "MOD-1 (0x0000001234AB0001, 192.168.169.20)"
std::string describedModule(const FoundModule& module);

/// What a person has to know about a module that this host cannot talk to.
std::string misfitText(const FoundModule& module);

} // namespace zel::cli
