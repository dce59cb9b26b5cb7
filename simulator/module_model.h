#pragma once

#include "firmware_store.h"
#include "measurements.h"
#include "module_controls.h"
#include "module_files.h"
#include "module_settings.h"
#include "module_status.h"
#include "parameter_model.h"
#include "teds_memories.h"

#include <array>
#include <functional>
#include <map>
#include <memory>
#include <optional>

namespace zel::simulator {

/// All that the services of one module share. Simulator's thread only, but for the parameters.
struct ModuleModel {
    /// Where a value belongs: connector, channel, signal.
    using Place = std::array<std::uint32_t, 3>;
    struct SimulatedValue {
        std::uint32_t mode;
        double value;
    };

    ModuleModel(const ModuleSettings& moduleSettings, std::function<void(milliseconds)> goAway);
    ModuleModel(const ModuleModel&) = delete;
    ModuleModel& operator=(const ModuleModel&) = delete;

    /// What a restart changes: the configuration stays, what ran is over.
    void restarted();
    /// The value that was set for a signal of a connector, whatever its channel.
    std::optional<double> simulatedValue(std::uint32_t connector, std::uint32_t signal) const;

    const ModuleSettings& settings;
    /// Makes the module leave the network and come back after the time.
    std::function<void(milliseconds)> restart;
    /// A restart was accepted: the module deals with nothing more until it is back.
    bool isLeaving = false;

    ParameterModel parameters;
    TedsMemories teds;
    ControlState controls;
    RaisedStatus raised;
    FirmwareStore firmware;
    ModuleFiles files;
    std::map<Place, SimulatedValue> simulatedValues;
    std::map<std::array<std::uint32_t, 2>, std::uint32_t> registers; ///< by channel and number
    /// Bytes of blocks that are on their way; shared with those, which may outlive the module.
    std::shared_ptr<std::size_t> blocksUnderWay = std::make_shared<std::size_t>(0);
    Measurements measurements{*this}; ///< looks at all of the others
};

} // namespace zel::simulator
