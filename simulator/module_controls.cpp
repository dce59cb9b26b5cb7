#include "module_controls.h"

#include "module_codes.h"
#include "module_model.h"
#include "number_forms.h"
#include "signal_place.h"
#include "xml_text.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <limits>
#include <type_traits>

namespace zel::simulator {

namespace {

using Kind = ParameterDefinition::Kind;
using namespace std::chrono_literals;

constexpr double kMostU32 = std::numeric_limits<std::uint32_t>::max();
constexpr std::size_t kLongestWaveform = 32u << 20;
constexpr std::size_t kMostKept = 1000;
constexpr milliseconds kSelfTestTime = 1500ms;

struct Par {
    Kind kind = Kind::integer;
    double maximum = kMostU32;
    double minimum = 0;
    std::size_t longest = 64;
};

constexpr Par kConnector{Kind::integer, 9};
constexpr Par kNumber{};
constexpr Par kLed{Kind::integer, 15};
constexpr Par kGenerator{Kind::integer, 7};
constexpr Par kByte{Kind::integer, 255};
constexpr Par kText{Kind::text};
constexpr Par kWaveform{Kind::text, 0, 0, kLongestWaveform};

ParameterDefinition parameters(const std::vector<Par>& list)
{
    ParameterDefinition definition;
    definition.name = "ControlParams";
    for (const Par& par : list) {
        ParameterDefinition child;
        child.name = "Par" + std::to_string(definition.children.size() + 1);
        child.kind = par.kind;
        child.minimum = par.minimum;
        child.maximum = par.maximum;
        child.longest = par.longest;
        if (par.kind != Kind::text)
            child.initials = {"0"};
        definition.children.push_back(std::move(child));
    }
    return definition;
}

std::uint32_t asNumber(const std::string& text)
{
    std::uint32_t value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

/// Remembers what came last, however long the module runs.
template <class Entry>
void keep(std::vector<Entry>& list, std::type_identity_t<Entry> entry)
{
    if (list.size() == kMostKept)
        list.erase(list.begin());
    list.push_back(std::move(entry));
}

MethodAnswer reconnect(ModuleModel& model, const ControlTexts& texts)
{
    ++model.controls.reconnects[asNumber(texts[0])];
    return {};
}

/// Moves the zero of the signal's channel so that the signal shows `target` instead of what it
/// shows now.
MethodAnswer shiftTo(ModuleModel& model, const SignalDescription& signal, double target)
{
    const std::string path = channelPathOf(signal.place) + "/ZeroOffset";
    const double zero = std::strtod(model.parameters.value(path).value_or("0").c_str(), nullptr);
    const double shown =
        model.measurements.currentValue(signal, ScaleType::physical).value_or(kNoValue);
    const double wanted = zero + (target - shown) / signal.physical.factor;
    if (shown == kNoValue || !model.parameters.set(path, plainNumber(wanted)))
        return {kZeroNotPossible, referenceOf(signal.place) + " cannot be set to zero"};
    return {};
}

MethodAnswer unknown(const SignalPlace& place)
{
    return {kSignalUnknown, "connector " + std::to_string(place.connector + 1) + " has no signal " +
                                std::to_string(place.signal + 1)};
}

MethodAnswer setZero(ModuleModel& model, const ControlTexts& texts)
{
    double target = 0;
    if (!texts[2].empty()) {
        char* end = nullptr;
        target = std::strtod(texts[2].c_str(), &end);
        if (*end != '\0')
            return {kInvalidControlParameter, "Par3: '" + texts[2] + "' is not a number"};
    }
    const SignalPlace place{SignalKind::analog, asNumber(texts[0]), 0, asNumber(texts[1])};
    if (model.parameters.value(connectorPathOf(place) + "/Mode") != modeOf(place.kind))
        return {kZeroNotPossible,
                "connector " + std::to_string(place.connector + 1) + " cannot be set to zero"};
    const auto signal = describeSignal(model, place);
    if (!signal)
        return unknown(place);
    if (!signal->isEnabled)
        return {kSignalSwitchedOff,
                "signal " + std::to_string(place.signal + 1) + " is switched off"};
    return shiftTo(model, *signal, target);
}

MethodAnswer addCalibrationPoint(ModuleModel& model, const ControlTexts& texts)
{
    const SignalPlace place{SignalKind::analog, asNumber(texts[0]), 0, asNumber(texts[1])};
    if (!describeSignal(model, place))
        return unknown(place);
    std::int32_t point = 0;
    std::from_chars(texts[2].data(), texts[2].data() + texts[2].size(), point);
    keep(model.controls.calibrationPoints,
         {place.connector, place.signal, point, std::strtod(texts[3].c_str(), nullptr)});
    return {};
}

MethodAnswer setI2s(ModuleModel& model, const ControlTexts& texts)
{
    model.controls.i2sMode = asNumber(texts[0]);
    return {};
}

MethodAnswer setInputSource(ModuleModel& model, const ControlTexts& texts)
{
    model.controls.inputSources[asNumber(texts[0])] = {texts.begin() + 1, texts.end()};
    return {};
}

MethodAnswer setLed(ModuleModel& model, const ControlTexts& texts)
{
    model.controls.ledModes[asNumber(texts[0])] = asNumber(texts[1]);
    return {};
}

MethodAnswer transmitCanMessage(ModuleModel& model, const ControlTexts& texts)
{
    if (asNumber(texts[2]) > 8)
        return {kInvalidControlParameter, "Par3: a CAN message has at most 8 bytes"};
    keep(model.controls.canMessages, texts);
    return {};
}

MethodAnswer generatorClock(ModuleModel&, const ControlTexts&)
{
    pugi::xml_document document;
    appendText(document, "Frequency", "96000.000000");
    return {0, toText(document)};
}

MethodAnswer loadGenerator(ModuleModel& model, const ControlTexts& texts)
{
    ControlState::Generator generator;
    const char* at = texts[1].c_str();
    while (*at != '\0') {
        char* end = nullptr;
        generator.samples.push_back(std::strtof(at, &end));
        if (end == at)
            return {kInvalidControlParameter, "Par2: a sample is not a number"};
        at = end;
        while (*at == ' ')
            ++at;
    }
    generator.settings.assign(texts.begin() + 2, texts.end());
    model.controls.generators[asNumber(texts[0])] = std::move(generator);
    return {};
}

/// Takes long enough that the module has to ask the host for patience.
MethodAnswer selfTest(ModuleModel&, const ControlTexts&)
{
    pugi::xml_document document;
    appendText(document, "SelfTest", "passed");
    MethodAnswer answer{0, toText(document)};
    answer.delay = kSelfTestTime;
    return answer;
}

} // namespace

const std::vector<Control>& controlCatalogue()
{
    constexpr Par kPoint{Kind::integer, 2147483647.0, -2147483648.0};
    constexpr Par kReal{Kind::real, 1e12, -1e12};
    static const std::vector<Control> controls{
        {"CONNECTORRECONNECT", "Reads the connector's TEDS anew", parameters({kConnector}),
         reconnect},
        {"SETZERO", "Sets a signal to zero or to a target",
         parameters({kConnector, kNumber, kText}), setZero},
        {"INITADJ", "Takes a calibration point", parameters({kConnector, kNumber, kPoint, kReal}),
         addCalibrationPoint},
        {"SETI2STOCAL", "Switches the calibration input", parameters({kNumber}), setI2s},
        {"INPUTSRC", "Switches a connector's input", parameters({kConnector, kNumber, kNumber}),
         setInputSource},
        {"LEDFLASH", "Sets the mode of an LED", parameters({kLed, kNumber}), setLed},
        {"CANTRANSMITUSERCANMSG", "Sends a CAN message: connector, identifier, length, 8 bytes",
         parameters(
             {kConnector, kNumber, kByte, kByte, kByte, kByte, kByte, kByte, kByte, kByte, kByte}),
         transmitCanMessage},
        {"GETSIGNALGENERATORCLOCK", "Tells the clock of a signal generator",
         parameters({kGenerator}), generatorClock},
        {"SETARBITRARYSIGNALGENERATOR", "Loads a waveform into a signal generator",
         parameters({kGenerator, kWaveform, kNumber, kNumber, kNumber, kText}), loadGenerator},
        {"SELFTEST", "Tests the module, which takes a while", parameters({}), selfTest},
    };
    return controls;
}

const Control* findControl(std::string_view name)
{
    const auto found = std::ranges::find(controlCatalogue(), name, &Control::name);
    return found == controlCatalogue().end() ? nullptr : &*found;
}

} // namespace zel::simulator
