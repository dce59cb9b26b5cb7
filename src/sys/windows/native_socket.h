#pragma once

#include <cstdint>

namespace zel::sys {

using NativeSocket = std::uintptr_t;
inline constexpr NativeSocket kNoSocket = ~NativeSocket{0};

} // namespace zel::sys
