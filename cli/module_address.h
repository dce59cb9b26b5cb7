#pragma once

#include "ZEL_VR_Framework.hpp"

#include <string>

namespace zel::cli {

/// What a person typed for a module. Throws CommandFailure with an explanation for what is none.
ModuleTarget moduleTarget(const std::string& text);

} // namespace zel::cli
