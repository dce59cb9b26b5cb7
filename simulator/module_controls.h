#pragma once

#include "parameter_definition.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace zel::simulator {

struct ModuleModel;

using ControlTexts = std::vector<std::string>;

/// What the controls have done to the module.
struct ControlState {
    struct CalibrationPoint {
        std::uint32_t connector;
        std::uint32_t signal;
        std::int32_t point;
        double value;
    };
    struct Generator {
        std::vector<float> samples;
        ControlTexts settings; ///< the parameters after the samples
    };

    std::map<std::uint32_t, std::uint32_t> ledModes;
    std::map<std::uint32_t, std::uint32_t> reconnects; ///< how often, by connector
    std::map<std::uint32_t, ControlTexts> inputSources;
    std::vector<CalibrationPoint> calibrationPoints;
    std::vector<ControlTexts> canMessages;
    std::map<std::uint32_t, Generator> generators;
    std::uint32_t i2sMode = 0;
};

/// A control that the module publishes. Its parameters Par1, Par2... are defined like those of the
/// configuration, so that the checks, the schema and the document come from the same source.
struct Control {
    std::string_view name;
    std::string_view text;
    ParameterDefinition parameters;
    MethodAnswer (*perform)(ModuleModel& model, const ControlTexts& parameters);
};

const std::vector<Control>& controlCatalogue();
const Control* findControl(std::string_view name);

} // namespace zel::simulator
