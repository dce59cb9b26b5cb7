#pragma once

#include <cstdint>
#include <filesystem>

namespace zel {

std::uint32_t processId();

/// The folder that "USERPROFILE" names; on Linux, where that is not usual, the one of "HOME" in its
/// place. Empty where the environment has neither.
std::filesystem::path userFolder();

} // namespace zel
