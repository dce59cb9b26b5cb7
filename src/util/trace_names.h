#pragma once

#include <string>
#include <string_view>

namespace zel {

/// What an export is called in a trace script, with what its results are assigned to where it has
/// several; empty for an export that scripts do not have.
std::string traceName(std::string_view exportName);

} // namespace zel
