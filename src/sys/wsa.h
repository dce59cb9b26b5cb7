#pragma once

#include <cstdint>

namespace zel::sys {

/// Counts the users of the platform's socket library: the first start-up loads it, the last
/// clean-up lets it go. Failures are only logged; what needs a socket will fail on its own.
///
/// Not synchronised: the caller's mutex covers all calls.
class clWsa {
public:
    void startup();
    /// Harmless without a start-up.
    void cleanup();

    std::uint32_t count() const { return m_count; }

private:
    std::uint32_t m_count = 0;
};

} // namespace zel::sys
