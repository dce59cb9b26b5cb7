#pragma once

#include "service_call.h"

#include <array>
#include <cstdint>

/// The system service without firmware and files: restart, background services, flashing,
/// diagnostics. Every function sends one request, waits for the answer and returns its result.
namespace zel::system_functions {

/// Always asks for a cold restart.
std::int32_t restart(const RequestPath& requests, std::uint64_t uuid);

std::int32_t readBackgroundServiceResult(const RequestPath& requests, std::uint64_t uuid,
                                         std::uint32_t service, const TextBuffer& buffer);
std::int32_t startFlashing(const RequestPath& requests, std::uint64_t uuid);
std::int32_t startMspFlashing(const RequestPath& requests, std::uint64_t uuid,
                              std::uint32_t channel);
std::int32_t readFlashStatus(const RequestPath& requests, std::uint64_t uuid, std::uint32_t& status,
                             std::uint32_t& progress);
/// The answer is copied by the buffer rule; there is no cell for its length.
std::int32_t requestDebugInfo(const RequestPath& requests, std::uint64_t uuid,
                              std::uint32_t debugId, const std::array<const char*, 5>& parameters,
                              char* buffer, std::uint64_t capacity);
std::int32_t setSimulatedValue(const RequestPath& requests, std::uint64_t uuid,
                               std::uint32_t connector, std::uint32_t channel, std::uint32_t signal,
                               std::uint32_t mode, double value);
std::int32_t readTr620CalUgMeasUx(const RequestPath& requests, std::uint64_t uuid,
                                  std::uint32_t connector, std::uint32_t& calUg,
                                  std::uint32_t& measUx);
std::int32_t readTr620RgRx(const RequestPath& requests, std::uint64_t uuid, std::uint32_t connector,
                           std::uint32_t& rg, std::uint32_t& rx);

} // namespace zel::system_functions
