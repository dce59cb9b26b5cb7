#pragma once

#include "record_request.h"

#include <string>

namespace zel::cli {

/// Reads what to record from a TOML file. Throws CommandFailure with the line of what is wrong: a
/// key that is unknown with the one that was probably meant.
RecordRequest readRunFile(const std::string& file);

} // namespace zel::cli
