#pragma once

#include <cstdint>

namespace zel::acquisition {

/// How much of a signal a recording has. What the module made is `samples` + `missing`.
struct SignalTotals {
    std::uint64_t firstIndex = 0;
    std::uint64_t endIndex = 0; ///< behind the last sample, recorded or missing
    std::uint64_t samples = 0;  ///< recorded
    std::uint64_t missing = 0;
    std::uint64_t gaps = 0;

    bool operator==(const SignalTotals&) const = default;
};

} // namespace zel::acquisition
