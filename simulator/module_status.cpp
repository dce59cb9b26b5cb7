#include "module_status.h"

#include "module_codes.h"
#include "module_model.h"
#include "signal_place.h"

#include <cstdlib>

namespace zel::simulator {

namespace {

/// The parameters of an analog connector's sensor.
std::string sensorPathOf(std::uint32_t connector)
{
    return channelPathOf({SignalKind::analog, connector, 0, 0}) + "/Sensor";
}

bool isAnalog(const ModuleModel& model, std::uint32_t connector)
{
    const SignalPlace first{SignalKind::analog, connector, 0, 0};
    return model.parameters.value(connectorPathOf(first) + "/Mode") == modeOf(first.kind);
}

double parameter(const ModuleModel& model, const std::string& path)
{
    return std::strtod(model.parameters.value(path).value_or("0").c_str(), nullptr);
}

/// The largest value, without its sign, that the signal's waveform takes.
double peakOf(const ModuleModel& model, std::uint32_t connector, std::uint32_t signal)
{
    const std::string path = signalPathOf({SignalKind::analog, connector, 0, signal});
    const auto waveform = model.parameters.value(path + "/Waveform");
    const bool isPlain = waveform == "Counter" || waveform == "Sensor";
    return isPlain ? 0 : parameter(model, path + "/Amplitude");
}

bool isOverflowing(const ModuleModel& model, std::uint32_t connector, std::uint32_t signal)
{
    if (!isAnalog(model, connector))
        return false;
    const auto value = model.simulatedValue(connector, signal);
    const double peak = value ? 0 : peakOf(model, connector, signal);
    const std::string sensor = sensorPathOf(connector);
    return value.value_or(-peak) < parameter(model, sensor + "/PhysicalMinimum") ||
           value.value_or(peak) > parameter(model, sensor + "/PhysicalMaximum");
}

template <class Visit>
void visitOverflows(const ModuleModel& model, Visit visit)
{
    for (std::uint32_t connector = 0; connector < kAmplifierConnectors; ++connector) {
        for (std::uint32_t signal = 0; signal < kSignalsOfChannel; ++signal)
            if (isOverflowing(model, connector, signal))
                visit(connector, signal);
    }
}

} // namespace

bool isSensorMissing(const ModuleModel& model, std::uint32_t connector)
{
    if (model.teds.find(connector) != nullptr || !isAnalog(model, connector))
        return false;
    return model.parameters.value(sensorPathOf(connector) + "/UseTeds") == "On";
}

std::vector<ModuleError> collectErrors(const ModuleModel& model)
{
    std::vector<ModuleError> errors;
    if (model.parameters.value("Communication/Time/Source") == "Ntp" &&
        model.parameters.value("Communication/Time/Server") == "0.0.0.0")
        errors.push_back({2, kNoTimeServer, 0, 0, 0, "NTPDEAMON: NTP Server not reached"});
    for (std::uint32_t connector = 0; connector < kAmplifierConnectors; ++connector) {
        if (isSensorMissing(model, connector))
            errors.push_back({1, kNoTeds, connector + 1, 0, 0,
                              "No TEDS connected or error while reading TEDS data"});
    }
    visitOverflows(model, [&](std::uint32_t connector, std::uint32_t signal) {
        errors.push_back({1, kOverflow, connector + 1, 1, signal + 1, "Signal overflow"});
    });
    if (const auto place = model.measurements.overrunSignal())
        errors.push_back({1, kBufferOverrun, place->connector + 1, place->channel + 1,
                          place->signal + 1, "DAQ: Buffer overrun"});
    errors.insert(errors.end(), model.raised.errors.begin(), model.raised.errors.end());
    return errors;
}

std::vector<ModuleStatusEntry> collectStatuses(const ModuleModel& model)
{
    std::vector<ModuleStatusEntry> statuses;
    for (std::uint32_t connector = 0; connector < kAmplifierConnectors; ++connector) {
        const bool analog = isAnalog(model, connector);
        statuses.push_back({connector + 1, 0, 0, kModeStatus, analog ? 0u : 1u,
                            analog ? "analog input" : "CAN bus"});
        if (analog)
            statuses.push_back({connector + 1, 0, 0, kTedsStatus,
                                model.teds.find(connector) != nullptr ? 1u : 0u, "TEDS"});
    }
    visitOverflows(model, [&](std::uint32_t connector, std::uint32_t signal) {
        statuses.push_back({connector + 1, 1, signal + 1, kOverflowStatus, 1, "overflow"});
    });
    for (const auto& [led, mode] : model.controls.ledModes)
        statuses.push_back({led, 0, 0, kLedStatus, mode, "LED mode"});
    const auto flash = model.firmware.progress();
    statuses.push_back({0, 0, 0, kFlashStatus, flash.percent, "flashing, percent"});
    statuses.insert(statuses.end(), model.raised.statuses.begin(), model.raised.statuses.end());
    return statuses;
}

} // namespace zel::simulator
