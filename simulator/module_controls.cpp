#include "module_controls.h"

#include "module_codes.h"
#include "module_model.h"
#include "signal_place.h"
#include "xml_text.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <limits>
#include <sstream>
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

std::string fixed(double value)
{
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << std::fixed << value;
    return text.str();
}

MethodAnswer reconnect(ModuleModel& model, const ControlTexts& texts)
{
    ++model.controls.reconnects[asNumber(texts[0])];
    return {};
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
    const std::uint32_t connector = asNumber(texts[0]);
    const double value = model.simulatedValue(connector, asNumber(texts[1])).value_or(0.0);
    const std::string channel = channelPathOf({SignalKind::analog, connector, 0, 0});
    if (!model.parameters.set(channel + "/ZeroOffset", fixed(target - value)))
        return {kZeroNotPossible,
                "connector " + std::to_string(connector + 1) + " cannot be set to zero"};
    return {};
}

MethodAnswer addCalibrationPoint(ModuleModel& model, const ControlTexts& texts)
{
    std::int32_t point = 0;
    std::from_chars(texts[2].data(), texts[2].data() + texts[2].size(), point);
    keep(model.controls.calibrationPoints,
         {asNumber(texts[0]), asNumber(texts[1]), point, std::strtod(texts[3].c_str(), nullptr)});
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
