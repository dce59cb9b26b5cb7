#pragma once

#include <cstdint>

namespace zel {

/// Tells a forked child from its parent: one number for the life of a process, another one in its
/// child. Costs next to nothing. Never 0.
std::uint32_t processGeneration();

} // namespace zel
