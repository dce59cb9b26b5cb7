#pragma once

#include <cstdint>

namespace zel::sys {

#ifdef _WIN32
using NativeSocket = std::uintptr_t;
#else
using NativeSocket = int;
#endif

inline constexpr NativeSocket kNoSocket = static_cast<NativeSocket>(-1);

} // namespace zel::sys
