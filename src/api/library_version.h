#pragma once

#include <string>

namespace zel {

/// The version of the library file, four numbers joined by points; on Windows as its version
/// resource tells it. Empty where the file has none.
std::string libraryVersion();

} // namespace zel
