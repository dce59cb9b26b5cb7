#include "clock_notes.h"

#include <algorithm>
#include <cmath>

namespace zel::acquisition {

bool ClockNotes::isNotable(const ClockEstimate& clock)
{
    constexpr std::uint64_t kPause = 10'000'000'000;
    constexpr double kDrift = 1e-6;
    const auto [entry, isFirst] = m_told.try_emplace(clock.module, clock);
    ClockEstimate& told = entry->second;
    if (isFirst)
        return true;
    if (clock.moduleTime >= told.moduleTime && clock.moduleTime - told.moduleTime < kPause)
        return false;
    const double since =
        static_cast<double>(clock.moduleTime) - static_cast<double>(told.moduleTime);
    const double foretold = static_cast<double>(told.offset) + told.drift * since;
    const double error = std::fabs(static_cast<double>(clock.offset) - foretold);
    const std::uint64_t uncertainty = std::min(clock.uncertainty, told.uncertainty);
    if (error <= static_cast<double>(uncertainty) / 2 &&
        clock.uncertainty >= told.uncertainty / 2 && std::fabs(clock.drift - told.drift) <= kDrift)
        return false;
    told = clock;
    return true;
}

} // namespace zel::acquisition
