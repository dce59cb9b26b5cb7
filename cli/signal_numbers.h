#pragma once

#include "module_session.h"

#include <cstdint>
#include <string>
#include <vector>

// Connectors and signals by number, as the module's labels show them: from 1. Some exports count
// from 0; the commands convert where they call those.
namespace zel::cli {

inline constexpr auto kConnectorHelp = "Number of the connector, from 1 as on the module's label";

/// Throws CommandFailure for 0.
void requireConnector(std::uint32_t connector);

/// An analog input's signal.
struct SignalNumbers {
    std::uint32_t connector = 0;
    std::uint32_t signal = 0;
};

/// The signal that was named, by its reference, name or parameter path in one word, or by the
/// numbers of connector and signal in two. Throws CommandFailure for what is none.
SignalNumbers signalNumbers(const ModuleConnection& module, const std::vector<std::string>& words);

} // namespace zel::cli
