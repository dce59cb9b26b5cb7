#include "signal_place.h"

#include "model_path.h"

#include <algorithm>
#include <charconv>

namespace zel::simulator {

namespace {

std::optional<std::uint32_t> readWhole(std::string_view digits)
{
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    const bool whole = error == std::errc{} && end == digits.data() + digits.size();
    return whole ? std::optional{number} : std::nullopt;
}

/// Takes a signal reference apart from the left; what does not fit makes all of it bad.
class ReferenceReader {
public:
    explicit ReferenceReader(std::string_view text) : m_rest(text) {}

    bool skip(std::string_view word)
    {
        const bool found = m_rest.starts_with(word);
        if (found)
            m_rest.remove_prefix(word.size());
        return found;
    }
    std::uint32_t number(std::string_view word)
    {
        m_good = m_good && skip(word);
        const std::string_view digits = m_rest.substr(0, m_rest.find_first_not_of("0123456789"));
        m_rest.remove_prefix(digits.size());
        const auto value = readWhole(digits);
        m_good = m_good && value.has_value();
        return value.value_or(0);
    }
    bool isGood() const { return m_good && m_rest.empty(); }

private:
    std::string_view m_rest;
    bool m_good = true;
};

std::optional<SignalPlace> parseReference(std::string_view text)
{
    ReferenceReader in{text};
    SignalPlace place;
    if (in.skip("AnalogIn_"))
        place = {SignalKind::analog, in.number("Connector"), 0, in.number(".Signal")};
    else if (in.skip("CanReceiver_"))
        place = {SignalKind::can, in.number("Connector"), in.number(".Decoder"),
                 in.number(".Signal")};
    else if (in.skip("Fiber_"))
        place = {SignalKind::fiber, in.number("Connector"), in.number(".Channel"),
                 in.number(".Signal")};
    else
        return std::nullopt;
    return in.isGood() ? std::optional{place} : std::nullopt;
}

/// Takes a parameter path apart step by step.
class StepReader {
public:
    explicit StepReader(ModelPath path) : m_path(std::move(path)) {}

    bool skip(std::string_view name)
    {
        const bool found = next() != nullptr && next()->name == name && next()->conditions.empty();
        m_at += found ? 1 : 0;
        return found;
    }
    void expect(std::string_view name) { m_good = skip(name) && m_good; }

    void expectMode(std::string_view choice)
    {
        m_good = m_good && next() != nullptr && next()->name == "Mode" &&
                 std::ranges::all_of(next()->conditions, [choice](const auto& condition) {
                     return condition.first == "choice" && condition.second == choice;
                 });
        ++m_at;
    }

    /// The address of an element, counted from 0.
    std::uint32_t number(std::string_view name)
    {
        std::optional<std::uint32_t> address;
        if (const ModelStep* step = next(); step != nullptr && step->name.starts_with(name)) {
            const std::string_view digits = std::string_view{step->name}.substr(name.size());
            if (step->conditions.empty())
                address = readWhole(digits);
            else if (digits.empty() && step->conditions.size() == 1 &&
                     step->conditions.front().first == "address")
                address = readWhole(step->conditions.front().second);
        }
        ++m_at;
        m_good = m_good && address.value_or(0) != 0;
        return address.value_or(1) - 1;
    }

    bool isNextNamed(std::string_view name) const { return next() && next()->name == name; }
    bool isGood() const { return m_good && m_at == m_path.size(); }

private:
    const ModelStep* next() const
    {
        const bool usable = m_at < m_path.size() && !m_path[m_at].isAnywhereBelow;
        return usable ? &m_path[m_at] : nullptr;
    }

    const ModelPath m_path;
    std::size_t m_at = 0;
    bool m_good = true;
};

std::optional<SignalPlace> parsePath(std::string_view text)
{
    auto path = parseModelPath(text);
    // Connector, mode and channel, with a section before and a signal after, and perhaps the root.
    if (!path || path->size() < 5)
        return std::nullopt;
    const ModelStep content = path->at(path->size() - 3);
    const bool isAnalog = path->at(path->size() - 2).name == modeOf(SignalKind::analog);
    const SignalKind kind = isAnalog                  ? SignalKind::analog
                            : content.name == "Fiber" ? SignalKind::fiber
                                                      : SignalKind::can;
    StepReader in{*std::move(path)};
    in.skip("GenPar");
    // Hosts turn the reference of any CAN signal into a path below the additional connectors.
    const bool isAdditional =
        (kind != SignalKind::can || in.isNextNamed("AdditionalConnector")) && !isAnalog;
    in.expect(isAdditional ? "AdditionalConnector" : "Amplifier");
    SignalPlace place;
    place.kind = kind;
    place.connector = in.number("Connector");
    in.expectMode(modeOf(kind));
    in.expect(modeOf(kind));
    if (kind == SignalKind::can) {
        place.channel = in.number("CanInChannel");
        in.expect("AsyncSignal");
    } else {
        if (kind == SignalKind::fiber)
            place.channel = in.number("FiberChannel");
        place.signal = in.number("SyncSignal");
    }
    const bool exists = isAdditional || place.connector < kAmplifierConnectors;
    return in.isGood() && exists ? std::optional{place} : std::nullopt;
}

std::string addressed(std::string_view name, std::uint32_t number)
{
    return "/" + std::string{name} + "[@address=\"" + std::to_string(number + 1) + "\"]";
}

} // namespace

std::optional<SignalPlace> parseSignal(std::string_view text)
{
    return text.find('/') == text.npos ? parseReference(text) : parsePath(text);
}

std::string referenceOf(const SignalPlace& place)
{
    const std::string connector = "_Connector" + std::to_string(place.connector);
    const std::string signal = ".Signal" + std::to_string(place.signal);
    switch (place.kind) {
    case SignalKind::can:
        return "CanReceiver" + connector + ".Decoder" + std::to_string(place.channel) + signal;
    case SignalKind::fiber:
        return "Fiber" + connector + ".Channel" + std::to_string(place.channel) + signal;
    case SignalKind::analog:
        break;
    }
    return "AnalogIn" + connector + signal;
}

std::string connectorPathOf(const SignalPlace& place)
{
    const bool isAmplifiers = place.connector < kAmplifierConnectors;
    return (isAmplifiers ? "Amplifier" : "AdditionalConnector") +
           addressed("Connector", place.connector);
}

std::string channelPathOf(const SignalPlace& place)
{
    const std::string content = connectorPathOf(place) + "/Mode/" + std::string{modeOf(place.kind)};
    switch (place.kind) {
    case SignalKind::can:
        return content + addressed("CanInChannel", place.channel);
    case SignalKind::fiber:
        return content + addressed("FiberChannel", place.channel);
    case SignalKind::analog:
        break;
    }
    return content;
}

std::string signalPathOf(const SignalPlace& place)
{
    return channelPathOf(place) + (place.kind == SignalKind::can
                                       ? std::string{"/AsyncSignal"}
                                       : addressed("SyncSignal", place.signal));
}

std::string_view modeOf(SignalKind kind)
{
    switch (kind) {
    case SignalKind::can:
        return "CanBus";
    case SignalKind::fiber:
        return "Fiber";
    case SignalKind::analog:
        break;
    }
    return "AnalogInChannel";
}

} // namespace zel::simulator
