#include "signal_description.h"

#include "module_model.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <span>
#include <utility>

namespace zel::simulator {

namespace {

constexpr double kMostAnalogCounts = 8388607;
constexpr double kMostCanCounts = 9007199254740991;
constexpr std::uint64_t kPicosecondsPerSecond = 1'000'000'000'000;

/// The values of one element of the parameter document.
class Values {
public:
    Values(const ModuleModel& model, const std::string& path)
        : m_values(model.parameters.valuesOf(path))
    {
    }

    bool exist() const { return !m_values.empty(); }
    const std::string& text(std::string_view name) const
    {
        static const std::string none;
        const auto found = m_values.find(name);
        return found == m_values.end() ? none : found->second;
    }
    bool isOn(std::string_view name) const { return text(name) == "On"; }
    double real(std::string_view name) const
    {
        double value = 0;
        const std::string& digits = text(name);
        std::from_chars(digits.data(), digits.data() + digits.size(), value);
        return value;
    }
    std::uint64_t thousandths(std::string_view name) const
    {
        return static_cast<std::uint64_t>(std::llround(real(name) * 1000));
    }

private:
    const std::map<std::string, std::string, std::less<>> m_values;
};

using TypeName = std::pair<std::string_view, DataType>;

constexpr std::array<TypeName, 4> kTypes{{{"Float32", DataType::float32},
                                          {"Float64", DataType::float64},
                                          {"Int32", DataType::int32},
                                          {"Int64", DataType::int64}}};
constexpr std::array<TypeName, 6> kTimedTypes{{{"Float64", DataType::timedFloat64},
                                               {"Float32", DataType::timedFloat32},
                                               {"Int32", DataType::timedInt32},
                                               {"Int64", DataType::timedInt64},
                                               {"UInt32", DataType::timedUint32},
                                               {"UInt64", DataType::timedUint64}}};

DataType typeNamed(std::string_view name, std::span<const TypeName> types)
{
    const auto found =
        std::ranges::find(types, name, [](const TypeName& type) { return type.first; });
    return found == types.end() ? types.front().second : found->second;
}

Waveform::Kind kindNamed(std::string_view name)
{
    using KindName = std::pair<std::string_view, Waveform::Kind>;
    static constexpr std::array<KindName, 4> kKinds{{{"Ramp", Waveform::Kind::ramp},
                                                     {"Square", Waveform::Kind::square},
                                                     {"Noise", Waveform::Kind::noise},
                                                     {"Counter", Waveform::Kind::counter}}};
    const auto found =
        std::ranges::find(kKinds, name, [](const KindName& kind) { return kind.first; });
    return found == kKinds.end() ? Waveform::Kind::sine : found->second;
}

/// Two signals never make the same noise.
std::uint64_t seedOf(const ModuleModel& model, const SignalPlace& place)
{
    const std::uint32_t number = ((place.connector * 16 + place.channel) * 16 + place.signal) * 4 +
                                 static_cast<std::uint32_t>(place.kind);
    return scatter(number, model.settings.uuid);
}

void describeWaveform(SignalDescription& signal, const Values& values)
{
    signal.sensor.kind = kindNamed(values.text("Waveform"));
    signal.sensor.amplitude = values.real("Amplitude");
    signal.sensor.seed = signal.times.seed;
    const std::uint64_t millihertz = values.thousandths("Frequency");
    signal.sensor.step = signal.times.isEven()
                             ? phaseStep(millihertz, signal.times.rate * 1000)
                             : phaseStep(millihertz * signal.times.cycle, kPicosecondsPerSecond);
    // A sensor at rest: the last digits never stand still.
    if (values.text("Waveform") == "Sensor") {
        signal.sensor.kind = Waveform::Kind::noise;
        signal.sensor.amplitude *= 0.0001;
    }
}

/// An analog sensor rests in the middle of its range.
void describeRest(SignalDescription& signal, const Values& sensor)
{
    const double minimum = sensor.real("PhysicalMinimum");
    const double maximum = sensor.real("PhysicalMaximum");
    signal.sensor.centre = minimum / 2 + maximum / 2;
    signal.sensor.amplitude = (maximum - minimum) * 0.00005;
}

void describeAnalog(SignalDescription& signal, const ModuleModel& model, const Values& values)
{
    const std::string channel = channelPathOf(signal.place);
    const Values channelValues{model, channel};
    const Values sensor{model, channel + "/Sensor"};
    signal.isEnabled = values.isOn("Active") && channelValues.isOn("Active");
    const double factor = values.real("Factor");
    signal.physical = {factor, values.real("Offset") + channelValues.real("ZeroOffset") * factor};
    if (values.text("Waveform") == "Sensor")
        describeRest(signal, sensor);
    // The sensitivity is what the sensor gives at the end of its range.
    if (const double end = sensor.real("PhysicalMaximum"); end != 0) {
        signal.electrical = Scaling{sensor.real("Sensitivity") / end, 0};
        signal.raw =
            Scaling{signal.electrical->factor / sensor.real("Range") * (kMostAnalogCounts + 1), 0};
        signal.mostRaw = kMostAnalogCounts;
    }
}

void describeFiber(SignalDescription& signal, const ModuleModel& model, const Values& values)
{
    const std::string channel = channelPathOf(signal.place);
    const Values fiber{model, channel + "/Fiber"};
    signal.isEnabled = values.isOn("Active") && Values{model, channel}.isOn("Active");
    signal.physical = {values.real("Factor"), values.real("Offset")};
    // The wavelength shifts by so many millionths of itself for each physical unit.
    const double wavelength = fiber.real("Wavelength");
    signal.electrical = Scaling{wavelength * fiber.real("Sensitivity") * 1e-6, wavelength};
}

void describeCan(SignalDescription& signal, const ModuleModel& model, const Values& values)
{
    const std::string channel = channelPathOf(signal.place);
    const Values sensor{model, channel + "/CanSensor"};
    signal.isEnabled = values.isOn("Active") && Values{model, channel}.isOn("Active");
    if (const double factor = sensor.real("Factor"); factor != 0) {
        signal.raw = Scaling{1 / factor, -sensor.real("Offset") / factor};
        signal.mostRaw = kMostCanCounts;
    }
}

bool isWithin(const SignalPlace& place)
{
    switch (place.kind) {
    case SignalKind::analog:
        return place.connector < kAmplifierConnectors && place.signal < kSignalsOfChannel;
    case SignalKind::can:
        return place.connector < kConnectorsInAll && place.channel < kCanChannels &&
               place.signal == 0;
    case SignalKind::fiber:
        break;
    }
    return place.connector >= kAmplifierConnectors && place.connector < kConnectorsInAll &&
           place.channel < kFiberChannels && place.signal < kSignalsOfChannel;
}

void describeTimes(SignalDescription& signal, const ModuleModel& model, const Values& values)
{
    signal.times.seed = seedOf(model, signal.place);
    if (signal.place.kind == SignalKind::can)
        signal.times.cycle = values.thousandths("Cycle") * 1000;
    else
        signal.times.rate = static_cast<std::uint64_t>(values.real("SampleRate"));
}

template <class Visit>
void visitPlaces(SignalKind kind, std::uint32_t connector, Visit visit)
{
    const std::uint32_t channels = kind == SignalKind::can     ? kCanChannels
                                   : kind == SignalKind::fiber ? kFiberChannels
                                                               : 1;
    const std::uint32_t signals = kind == SignalKind::can ? 1 : kSignalsOfChannel;
    for (std::uint32_t channel = 0; channel < channels; ++channel)
        for (std::uint32_t signal = 0; signal < signals; ++signal)
            visit(SignalPlace{kind, connector, channel, signal});
}

} // namespace

std::optional<SignalDescription> describeSignal(const ModuleModel& model, const SignalPlace& place)
{
    if (!isWithin(place))
        return std::nullopt;
    if (model.parameters.value(connectorPathOf(place) + "/Mode") != modeOf(place.kind))
        return std::nullopt;
    const Values values{model, signalPathOf(place)};
    if (!values.exist())
        return std::nullopt;
    SignalDescription signal;
    signal.place = place;
    signal.name = values.text("Name");
    signal.unit = values.text("Unit");
    signal.dataType = place.kind == SignalKind::can
                          ? typeNamed(values.text("DataType"), kTimedTypes)
                          : typeNamed(values.text("DataType"), kTypes);
    signal.recordKind = values.text("RecordKind") == "2" ? 2 : 1;
    describeTimes(signal, model, values);
    describeWaveform(signal, values);
    if (place.kind == SignalKind::analog)
        describeAnalog(signal, model, values);
    else if (place.kind == SignalKind::fiber)
        describeFiber(signal, model, values);
    else
        describeCan(signal, model, values);
    return signal;
}

std::vector<SignalDescription> describeSignals(const ModuleModel& model)
{
    std::vector<SignalDescription> signals;
    for (std::uint32_t connector = 0; connector < kConnectorsInAll; ++connector) {
        for (const SignalKind kind : {SignalKind::analog, SignalKind::can, SignalKind::fiber}) {
            visitPlaces(kind, connector, [&](const SignalPlace& place) {
                if (auto signal = describeSignal(model, place))
                    signals.push_back(*std::move(signal));
            });
        }
    }
    return signals;
}

std::optional<double> fixedSensorValue(const ModuleModel& model, const SignalPlace& place)
{
    if (place.kind != SignalKind::analog) {
        const auto found =
            model.simulatedValues.find({place.connector, place.channel, place.signal});
        return found == model.simulatedValues.end() ? std::nullopt
                                                    : std::optional{found->second.value};
    }
    // A simulated value takes the place of the sensor, whether there is one or not.
    if (const auto value = model.simulatedValue(place.connector, place.signal))
        return value;
    return isSensorMissing(model, place.connector) ? std::optional{kNoValue} : std::nullopt;
}

} // namespace zel::simulator
