#pragma once

#include "network_scan.h"

#include <string>
#include <vector>

namespace zel::cli {

/// What came of connecting to a module over TCP and reading its name.
struct ModuleProbe {
    double connectMs = 0;
    double readMs = 0;
    std::string problem; ///< empty where both went well
};

/// Tries them at the same time, some dozens at once; the library must be started. One result for
/// each module.
std::vector<ModuleProbe> probeModules(const std::vector<FoundModule>& modules);

} // namespace zel::cli
