#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zel::simulator {

struct ModuleModel;

/// Connector, channel and signal count from 1 in both lists; 0 where they do not apply.
struct ModuleError {
    std::uint32_t level = 1;
    std::int32_t code = 0;
    std::uint32_t connector = 0;
    std::uint32_t channel = 0;
    std::uint32_t signal = 0;
    std::string text;
};

struct ModuleStatusEntry {
    std::uint32_t connector = 0;
    std::uint32_t channel = 0;
    std::uint32_t signal = 0;
    std::uint32_t id = 0;
    std::uint64_t value = 0;
    std::string info;
};

struct ConnectedModule {
    std::uint64_t uuid = 0;
    std::uint32_t deviceType = 2;
    std::uint32_t activeInterface = 1;
};

/// What a test or a person adds to what the module finds out about itself.
struct RaisedStatus {
    std::vector<ModuleError> errors;
    std::vector<ModuleStatusEntry> statuses;
    std::vector<ConnectedModule> connectedModules;
};

/// The status ids that the module reports.
inline constexpr std::uint32_t kModeStatus = 1;
inline constexpr std::uint32_t kOverflowStatus = 2;
inline constexpr std::uint32_t kTedsStatus = 3;
inline constexpr std::uint32_t kLedStatus = 10;
inline constexpr std::uint32_t kFlashStatus = 11;

/// Whether the connector should have a sensor with TEDS and has none.
bool isSensorMissing(const ModuleModel& model, std::uint32_t connector);

/// What follows from the configuration, the sensors and the simulated values, then what was raised.
std::vector<ModuleError> collectErrors(const ModuleModel& model);
std::vector<ModuleStatusEntry> collectStatuses(const ModuleModel& model);

} // namespace zel::simulator
