#pragma once

namespace zel::sys {

using NativeSocket = int;
inline constexpr NativeSocket kNoSocket = -1;

} // namespace zel::sys
