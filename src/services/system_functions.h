#pragma once

#include "service_call.h"

#include <array>
#include <cstdint>

/// The system service without firmware and files: restart, background services, flashing,
/// diagnostics. Every function sends one request, waits for the answer and returns its result.
namespace zel::system_functions {

/// Always asks for a cold restart.
std::int32_t restart(const RemoteModule& module);

std::int32_t readBackgroundServiceResult(const RemoteModule& module, std::uint32_t service,
                                         const TextBuffer& buffer);
std::int32_t startMspFlashing(const RemoteModule& module, std::uint32_t channel);
std::int32_t readFlashStatus(const RemoteModule& module, std::uint32_t& status,
                             std::uint32_t& progress);
/// The answer is copied by the buffer rule; there is no cell for its length.
std::int32_t requestDebugInfo(const RemoteModule& module, std::uint32_t debugId,
                              const std::array<const char*, 5>& parameters, char* buffer,
                              std::uint64_t capacity);
std::int32_t setSimulatedValue(const RemoteModule& module, std::uint32_t connector,
                               std::uint32_t channel, std::uint32_t signal, std::uint32_t mode,
                               double value);
std::int32_t readTr620CalUgMeasUx(const RemoteModule& module, std::uint32_t connector,
                                  std::uint32_t& calUg, std::uint32_t& measUx);
std::int32_t readTr620RgRx(const RemoteModule& module, std::uint32_t connector, std::uint32_t& rg,
                           std::uint32_t& rx);

} // namespace zel::system_functions
