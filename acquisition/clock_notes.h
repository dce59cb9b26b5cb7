#pragma once

#include "batch.h"

#include <cstddef>
#include <map>

namespace zel::acquisition {

/// Which estimates of the modules' clocks a recording for people needs to tell.
class ClockNotes {
public:
    /// Whether it says anything notable that the last one told of its module did not; that was ten
    /// seconds before at least. Then it counts as told.
    bool isNotable(const ClockEstimate& clock);

private:
    std::map<std::size_t, ClockEstimate> m_told; // by module
};

} // namespace zel::acquisition
