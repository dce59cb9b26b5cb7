#pragma once

#include "module_address.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace zel::cli {

/// Where it can be connected to. Throws CommandFailure where it tells none.
Address addressOf(const FoundModule& module);

/// Works without a started library. Throws CommandFailure.
std::vector<Adapter> listAdapters();

/// Asks over every adapter at once, or over one; takes 3 seconds. The library must be started.
std::vector<FoundModule> scanNetwork(std::optional<std::uint32_t> adapter = {});

/// Asks over every adapter, again and again, until what has answered is enough, for 3 seconds at
/// most. The library must be started.
std::vector<FoundModule>
scanUntil(const std::function<bool(const std::vector<FoundModule>&)>& isEnough);

/// The one of the modules that answers best to the name or UUID. Throws CommandFailure where none
/// or several do.
FoundModule chooseModule(const std::vector<FoundModule>& modules, const ModuleTarget& target);

/// Looks for the module, and ends as soon as one has answered to its whole name.
FoundModule findModule(const ModuleTarget& target);

/// "MOD-1 (0x0000001234AB0001, 192.168.169.20)"
std::string describedModule(const FoundModule& module);

/// What a person has to know about a module that this host cannot talk to.
std::string misfitText(const FoundModule& module);

} // namespace zel::cli
