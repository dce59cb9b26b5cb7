#pragma once

#include <cstdint>

namespace zel {

/// No module; also the answer of searches that found none.
inline constexpr std::uint64_t kNoUuid = ~std::uint64_t{0};

/// The library's own node id: made on first use from the first adapter's hardware address and the
/// process id, then the same for the life of the process. A forked child has another one.
std::uint64_t ownUuid();

} // namespace zel
