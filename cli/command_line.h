#pragma once

#include "application.h"

#include <string>
#include <vector>

namespace zel::cli {

/// Reads the command line: sets the application's work, or its help when there is none to do.
/// Throws CommandFailure for a command line that makes no sense.
void parseCommandLine(Application& application, const std::vector<std::string>& arguments);

} // namespace zel::cli
