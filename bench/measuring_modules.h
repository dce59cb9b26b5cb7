#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace zel::bench {

/// The rate of a simulated module's analog signals, which the benchmarks leave as it is.
inline constexpr double kSampleRate = 1200;

/// The address of simulated module `i`.
std::string measuringHost(std::size_t i);

/// Starts so many simulated modules, which live as long as the process. All have the same port,
/// which is returned, each at an address of its own.
std::uint16_t startMeasuringModules(std::size_t count);

} // namespace zel::bench
