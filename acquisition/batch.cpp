#include "batch.h"

#include <algorithm>
#include <array>

namespace zel::acquisition {

namespace {

// In the order of Cause.
constexpr std::array<std::string_view, 9> kCauses{
    "time step", "overrun", "cut block", "outage",        "restart",
    "changed",   "queue",   "disk full", "clock set"};

} // namespace

std::uint64_t TimeLine::at(std::uint64_t index) const
{
    // 10^12 / rate for each sample, without leaving 64 bits: the whole seconds first.
    constexpr std::uint64_t kNanoseconds = 1'000'000'000;
    const std::uint64_t turned = (index - firstIndex) * 1000;
    return first + turned / rate * kNanoseconds + turned % rate * kNanoseconds / rate;
}

std::string_view nameOf(Cause cause)
{
    return kCauses.at(static_cast<std::size_t>(cause));
}

std::optional<Cause> causeNamed(std::string_view name)
{
    const auto found = std::ranges::find(kCauses, name);
    if (found == kCauses.end())
        return {};
    return static_cast<Cause>(found - kCauses.begin());
}

} // namespace zel::acquisition
