#pragma once

#include "data_type.h"
#include "no_value.h"
#include "sample_times.h"
#include "signal_place.h"
#include "waveform.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zel::simulator {

using wire::DataType;

struct ModuleModel;

/// How one form of a value follows from what the sensor measures.
struct Scaling {
    double factor = 1;
    double offset = 0;

    double operator()(double value) const { return value * factor + offset; }
};

/// What a signal is, as the parameters say now.
struct SignalDescription {
    SignalPlace place;
    std::string name;
    std::string unit;
    bool isEnabled = false;
    DataType dataType = DataType::float32;
    std::uint8_t recordKind = 1;
    SampleTimes times;

    Waveform sensor; ///< what the sensor measures, in its physical unit
    Scaling physical;
    std::optional<Scaling> electrical;
    std::optional<Scaling> raw;
    double mostRaw = 0; ///< the converter's counts end here, and one below its negative
};

/// Nothing when the module has no such signal, or its connector is in another mode.
std::optional<SignalDescription> describeSignal(const ModuleModel& model, const SignalPlace& place);
/// In the order of the signal lists: by connector, channel and signal.
std::vector<SignalDescription> describeSignals(const ModuleModel& model);

/// What the sensor of a signal gives: what was simulated for it, or "no value", or nothing where
/// its waveform goes on.
std::optional<double> fixedSensorValue(const ModuleModel& model, const SignalPlace& place);

} // namespace zel::simulator
