#include "signal_path.h"

#include "process_wide.h"
#include "ZEL_VR_Framework.h"

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <span>

namespace zel::signals {

namespace {

// Pieces of paths.
constexpr std::string_view kAddress = R"([@address=")";
constexpr std::string_view kEnd = R"("])";
constexpr std::string_view kNext = R"("]/)";
constexpr std::string_view kChoice = R"([@choice=")";
constexpr std::string_view kAmplifier = "Amplifier";
constexpr std::string_view kAdditional = "AdditionalConnector";

std::string join(std::initializer_list<std::string_view> parts)
{
    std::string text;
    for (const std::string_view part : parts)
        text += part;
    return text;
}

bool isAdditional(std::uint32_t type)
{
    return type == ZEL_CONNECTOR_CAN_ADDITIONAL || type == ZEL_CONNECTOR_FIBER;
}

bool isCan(std::uint32_t type)
{
    return type == ZEL_CONNECTOR_CAN || type == ZEL_CONNECTOR_CAN_ADDITIONAL;
}

/// The path of a CAN signal on an additional connector.
std::string additionalCanPath(std::string_view connector, std::string_view channel)
{
    return join({kAdditional, "/Connector", kAddress, connector, kNext, "Mode/CanBus/CanInChannel",
                 kAddress, channel, kNext, "AsyncSignal"});
}

std::string modeStep(std::string_view choice)
{
    return join({"Mode", kChoice, choice, kNext});
}

/// Reads a number as "%u" of scanf does, a blank or a sign before it included; what does not fit
/// into 32 bits is none.
bool takeNumber(std::string_view& text, std::uint32_t& number)
{
    const std::size_t blanks = text.find_first_not_of(" \t\n\v\f\r");
    text.remove_prefix(std::min(blanks, text.size()));
    const bool isNegative = text.starts_with('-');
    if (isNegative || text.starts_with('+'))
        text.remove_prefix(1);
    std::uint64_t value = 0;
    std::size_t digits = 0;
    for (; digits < text.size() && text[digits] >= '0' && text[digits] <= '9'; ++digits) {
        value = value * 10 + static_cast<std::uint64_t>(text[digits] - '0');
        if (value > std::numeric_limits<std::uint32_t>::max())
            return false;
    }
    text.remove_prefix(digits);
    number = static_cast<std::uint32_t>(isNegative ? 0 - value : value);
    return digits > 0;
}

constexpr char kNumber = '#'; // stands for a number in a pattern, and in no word

/// Matches the whole text.
bool matches(std::string_view text, std::string_view pattern, std::span<std::uint32_t> numbers)
{
    std::size_t next = 0;
    for (const char wanted : pattern) {
        if (wanted == kNumber) {
            if (next == numbers.size() || !takeNumber(text, numbers[next++]))
                return false;
        } else if (!text.starts_with(wanted)) {
            return false;
        } else {
            text.remove_prefix(1);
        }
    }
    return text.empty();
}

// In the order of the kinds; a word whose components can be of two sorts has two rows.
constexpr std::array<ReferenceForm, 20> kForms{{
    {ReferenceKind::analogIn, "AnalogIn", {"Connector", "Signal"}},
    {ReferenceKind::analogOut, "AnalogOut", {"Index"}},
    {ReferenceKind::analogOut, "AnalogOut", {"Connector"}},
    {ReferenceKind::digitalIo, "DigitalIO", {"Index", "Signal"}},
    {ReferenceKind::canReceiver, "CanReceiver", {"Connector", "Decoder", "Signal"}},
    {ReferenceKind::etherCatReceiver, "EtherCatReceiver", {"Connector", "Index", "Signal"}},
    {ReferenceKind::alarm, "Alarm", {"Index", "Signal"}},
    {ReferenceKind::gate, "Gate", {"Index", "Signal"}},
    {ReferenceKind::math, "Math", {"Index", "Signal"}},
    {ReferenceKind::peak, "Peak", {"Index", "Signal"}},
    {ReferenceKind::signalGenerator, "SignalGenerator", {"Index", "Signal"}},
    {ReferenceKind::canRawReceiver, "CanRawReceiver", {"Connector"}},
    {ReferenceKind::canCcpXcpReceiver, "CanCcpXcpReceiver", {"Connector"}},
    {ReferenceKind::fiber, "Fiber", {"Connector", "Channel", "Signal"}},
    {ReferenceKind::other, "FiberFb", {"Connector", "Channel"}},
    {ReferenceKind::other, "FiberRt", {"Connector", "Channel"}},
    {ReferenceKind::other, "Etalon", {"Spectrum"}},
    {ReferenceKind::other, "Etalon", {"Peaks"}},
    {ReferenceKind::other, "GasCell", {"Spectrum"}},
    {ReferenceKind::other, "GasCell", {"Peaks"}},
}};

/// The pattern of a form, as in "AnalogIn_Connector#.Signal#".
std::string patternOf(const ReferenceForm& form)
{
    std::string pattern{form.word};
    char separator = '_';
    for (const std::string_view component : form.components) {
        if (component.empty())
            break;
        pattern += join({{&separator, 1}, component, {&kNumber, 1}});
        separator = '.';
    }
    return pattern;
}

/// The patterns of everything that is recognised. Their memory is a part of the library file:
/// nothing stays behind when that is unloaded.
class Patterns {
public:
    std::array<std::string_view, 2> can;        // connector, channel; below the amplifier
    std::array<std::string_view, 2> additional; // the same on additional connectors
    std::array<std::string_view, 2> analog;     // connector, signal
    std::array<std::string_view, kForms.size()> references;

    Patterns()
    {
        const std::string canTail =
            join({modeStep("CanBus"), "CanBus/CanInChannel", kAddress, "#", kNext, "AsyncSignal"});
        const std::string analogTail =
            join({modeStep("AnalogInChannel"), "AnalogInChannel/SyncSignal", kAddress, "#", kEnd});
        const std::string byAddress = join({"/Connector", kAddress, "#", kNext});
        const std::string numbered = "/Connector#/";
        can = {kept(join({kAmplifier, byAddress, canTail})),
               kept(join({kAmplifier, numbered, canTail}))};
        additional = {kept(additionalCanPath("#", "#")),
                      kept(join({kAdditional, byAddress, canTail}))};
        analog = {kept(join({kAmplifier, byAddress, analogTail})),
                  kept(join({kAmplifier, numbered, analogTail}))};
        std::ranges::transform(kForms, references.begin(),
                               [this](const ReferenceForm& form) { return kept(patternOf(form)); });
    }
    Patterns(const Patterns&) = delete;
    Patterns& operator=(const Patterns&) = delete;

private:
    std::string_view kept(const std::string& pattern)
    {
        const std::size_t begin = m_size;
        m_size += pattern.copy(m_text.data() + begin, m_text.size() - begin);
        return {m_text.data() + begin, m_size - begin};
    }

    std::array<char, 2048> m_text;
    std::size_t m_size = 0;
};

/// Built by the first call, whichever thread makes it, and there until the process is gone.
const Patterns& patterns()
{
    static constinit ProcessWide<Patterns, InChild::kept> built;
    return *built;
}

bool matchesOne(std::string_view text, std::span<const std::string_view> alternatives,
                std::span<std::uint32_t> numbers)
{
    for (const std::string_view pattern : alternatives)
        if (matches(text, pattern, numbers))
            return true;
    return false;
}

} // namespace

std::string channelPath(const SignalNumbers& numbers, PathForm form)
{
    const bool isNumbered =
        form == PathForm::numbered && numbers.type != ZEL_CONNECTOR_CAN_ADDITIONAL;
    const std::string connector = std::to_string(numbers.connector);
    const std::string channel = std::to_string(numbers.channel);
    std::string path = join({isAdditional(numbers.type) ? kAdditional : kAmplifier, "/Connector"});
    path += isNumbered ? join({connector, "/"}) : join({kAddress, connector, kNext});
    if (numbers.type == ZEL_CONNECTOR_FIBER)
        return path + join({modeStep("Fiber"), "Fiber/FiberChannel", kAddress, channel, kEnd});
    if (isCan(numbers.type))
        return path + join({modeStep("CanBus"), "CanBus/CanInChannel", kAddress, channel, kEnd});
    return path + join({modeStep("AnalogInChannel"), "AnalogInChannel"});
}

std::string sensorPath(const SignalNumbers& numbers)
{
    std::string_view sensor;
    if (numbers.type == ZEL_CONNECTOR_ANALOG)
        sensor = "/Sensor";
    else if (isCan(numbers.type))
        sensor = "/CanSensor";
    else if (numbers.type == ZEL_CONNECTOR_FIBER)
        sensor = "/Fiber";
    else
        return {};
    return join({channelPath(numbers, PathForm::address), sensor});
}

std::string signalPath(const SignalNumbers& numbers, PathForm form)
{
    if (numbers.type == ZEL_CONNECTOR_CAN_ADDITIONAL)
        return additionalCanPath(std::to_string(numbers.connector),
                                 std::to_string(numbers.channel));
    const std::string channel = channelPath(numbers, form);
    if (numbers.type == ZEL_CONNECTOR_CAN)
        return channel + "/AsyncSignal";
    return join({channel, "/SyncSignal", kAddress, std::to_string(numbers.signal), kEnd});
}

// The only path that begins with "/" and has no choice of the mode.
std::string amplifierPath(std::uint32_t connector)
{
    return join({"/Amplifier/Connector", std::to_string(connector), "/Mode/AnalogInChannel"});
}

std::string functionPath(std::string_view kind)
{
    return join({"AdditionalFunction/", kind});
}

std::string functionPath(std::string_view kind, std::uint32_t index)
{
    return join({functionPath(kind), "/", kind, "Index", kAddress, std::to_string(index), kEnd});
}

std::optional<SignalNumbers> parseSignalPath(std::string_view text)
{
    std::array<std::uint32_t, 3> found{};
    if (matchesOne(text, patterns().can, found))
        return SignalNumbers{found[0] + 1, found[1] + 1, 1, ZEL_CONNECTOR_CAN};
    if (matchesOne(text, patterns().additional, found))
        return SignalNumbers{found[0] + 1, found[1] + 1, 1, ZEL_CONNECTOR_CAN_ADDITIONAL};
    if (matchesOne(text, patterns().analog, found))
        return SignalNumbers{found[0] + 1, 1, found[1] + 1, ZEL_CONNECTOR_ANALOG};
    auto numbers = numbersOf(text, ZEL_CONNECTOR_CAN_ADDITIONAL);
    if (!numbers || numbers->type == ZEL_CONNECTOR_FIBER)
        return {};
    if (numbers->type == ZEL_CONNECTOR_ANALOG)
        numbers->channel = 1; // its path has none
    return numbers;
}

ReferenceKind kindOf(std::string_view reference)
{
    const std::size_t end = reference.find('_');
    if (end == std::string_view::npos)
        return ReferenceKind::other;
    const auto form = std::ranges::find(kForms, reference.substr(0, end), &ReferenceForm::word);
    return form == kForms.end() ? ReferenceKind::other : form->kind;
}

std::optional<SignalReference> parseReference(std::string_view text)
{
    for (std::size_t form = 0; form < kForms.size(); ++form) {
        SignalReference reference{kForms[form], {}};
        if (matches(text, patterns().references[form], reference.numbers))
            return reference;
    }
    return {};
}

std::optional<SignalNumbers> numbersOf(std::string_view reference, std::uint32_t canType)
{
    const auto parsed = parseReference(reference);
    if (!parsed)
        return {};
    const auto& numbers = parsed->numbers;
    switch (parsed->form.kind) {
    case ReferenceKind::analogIn:
        return SignalNumbers{numbers[0] + 1, 0, numbers[1] + 1, ZEL_CONNECTOR_ANALOG};
    case ReferenceKind::canReceiver:
        return SignalNumbers{numbers[0] + 1, numbers[1] + 1, 1, canType};
    case ReferenceKind::fiber:
        return SignalNumbers{numbers[0] + 1, numbers[1] + 1, numbers[2] + 1, ZEL_CONNECTOR_FIBER};
    default:
        return {};
    }
}

std::string pathOf(std::string_view reference)
{
    const auto numbers = numbersOf(reference, ZEL_CONNECTOR_CAN_ADDITIONAL);
    return numbers ? signalPath(*numbers, PathForm::address) : std::string{};
}

} // namespace zel::signals
