#pragma once

#include <cstdint>
#include <memory_resource>
#include <unordered_map>

namespace zel {

/// Result codes and their texts. A text is a NUL-terminated constant of the library file.
using TextTable = std::pmr::unordered_map<std::int32_t, const char*>;

/// The table of every code that the library or a module can return; complete and constant.
const TextTable& resultTexts();

} // namespace zel
