#pragma once

#include <limits>

namespace zel::simulator {

/// "No value", before it takes its data type's form.
inline constexpr double kNoValue = std::numeric_limits<double>::max();

} // namespace zel::simulator
