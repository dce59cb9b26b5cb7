#include "module_codes.h"
#include "module_model.h"
#include "module_service.h"
#include "number_forms.h"
#include "service_document.h"
#include "xml_text.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace zel::simulator {

using wire::MeasurementMethod;

namespace {

constexpr std::uint64_t kLargestBlock = 16u << 20;
/// A host that asks and never takes the answers must not fill the memory with them.
constexpr std::size_t kMostUnderWay = 64u << 20;
constexpr std::size_t kMostSignals = 256;
constexpr std::uint64_t kLargestBlockSize = 2'000'000;
constexpr std::uint64_t kLatestStart = std::numeric_limits<std::int64_t>::max();

std::string quoted(std::string_view text)
{
    constexpr std::size_t kMost = 128;
    return "'" + std::string{text.substr(0, kMost)} + (text.size() > kMost ? "...'" : "'");
}

/// The answer for a signal that the module does not have, or not now.
Outcome noSuchSignal(const ModuleModel& model, const std::string& name)
{
    const auto place = parseSignal(name);
    if (!place)
        return {kSignalUnknown, quoted(name) + " names no signal"};
    const auto mode = model.parameters.value(connectorPathOf(*place) + "/Mode");
    const std::string number = std::to_string(place->connector + 1);
    if (!mode)
        return {kSignalUnknown, quoted(name) + ": there is no connector " + number};
    if (*mode != modeOf(place->kind))
        return {kSignalUnknown, quoted(name) + ": connector " + number + " is in the mode " +
                                    *mode + ", not " + std::string{modeOf(place->kind)}};
    return {kSignalUnknown, quoted(name) + ": connector " + number + " has no such signal"};
}

Outcome switchedOff(const std::string& name)
{
    return {kSignalSwitchedOff, quoted(name) + " is switched off (its parameter Active, or its "
                                               "channel's)"};
}

std::optional<SignalDescription> findSignal(const ModuleModel& model, const std::string& name)
{
    const auto place = parseSignal(name);
    return place ? describeSignal(model, *place) : std::nullopt;
}

std::string typeText(const SignalDescription& signal)
{
    return std::to_string(static_cast<unsigned>(signal.dataType));
}

/// A field of the list: what would end it becomes a blank.
std::string field(std::string text)
{
    std::ranges::replace_if(
        text, [](char c) { return c == '\t' || c == '\n' || c == '\r'; }, ' ');
    return text;
}

MethodAnswer fetchBlock(ModuleModel& model, const MethodCall& call)
{
    ServiceRequest request{call.data};
    const auto largest = request.number<std::uint64_t>("MaxSize");
    if (!request.isGood())
        return request.failure();
    // One byte less: hosts take an answer that is shorter than their buffer.
    const std::uint64_t room = kMostUnderWay - std::min(*model.blocksUnderWay, kMostUnderWay);
    const std::uint64_t most =
        std::min({largest - std::min<std::uint64_t>(largest, 1), kLargestBlock, room});
    auto block = model.measurements.fetch(call.connection, static_cast<std::size_t>(most));
    if (!block)
        return {kNothingSubscribed, "this connection has no subscription"};
    if (block->isTooSmall && largest <= room)
        return {kBlockTooSmall,
                "not one sample fits less than " + std::to_string(largest) + " bytes"};
    MethodAnswer answer{0, std::move(block->bytes)};
    const std::size_t size = answer.data.size();
    *model.blocksUnderWay += size;
    answer.afterwards = [underWay = model.blocksUnderWay, size] { *underWay -= size; };
    return answer;
}

Outcome addStream(ModuleModel& model, ServiceRequest request, std::vector<SignalStream>& streams)
{
    const std::string name = request.text("Name");
    const auto userSignalId = request.number<std::uint16_t>("UserSigId");
    const auto blockSize = request.number<std::uint64_t>("BlockSize");
    if (!request.isGood())
        return request.failure();
    if (blockSize == 0)
        return {kInvalidParameters, quoted(name) + ": a BlockSize of 0 has no samples"};
    auto signal = findSignal(model, name);
    if (!signal)
        return noSuchSignal(model, name);
    if (!signal->isEnabled)
        return switchedOff(name);
    streams.emplace_back(*std::move(signal), userSignalId, std::min(blockSize, kLargestBlockSize));
    return {};
}

Outcome subscribe(ModuleModel& model, const MethodCall& call)
{
    // Whatever comes of the new one, the old one is over.
    model.measurements.unsubscribe(call.connection);
    ServiceRequest request{call.data};
    if (!request.isGood())
        return request.failure();
    std::vector<SignalStream> streams;
    for (const pugi::xml_node signal : request.elements("Signal")) {
        if (streams.size() == kMostSignals)
            return {kInvalidParameters, "more than " + std::to_string(kMostSignals) + " signals"};
        if (Outcome outcome = addStream(model, ServiceRequest{signal}, streams); !outcome.isGood())
            return outcome;
    }
    if (streams.empty())
        return {kNothingSubscribed, "the subscription names no signal"};
    const auto start = request.number<std::uint64_t>("StartTime");
    if (!request.isGood())
        return request.failure();
    if (start > kLatestStart)
        return {kInvalidParameters, "the StartTime is beyond all times"};
    model.measurements.subscribe(call.connection, start, std::move(streams));
    return {};
}

Outcome unsubscribe(ModuleModel& model, const MethodCall& call)
{
    model.measurements.unsubscribe(call.connection);
    return {};
}

Outcome listSignals(ModuleModel& model, const MethodCall& call)
{
    ServiceRequest request{call.data};
    if (!request.isGood())
        return request.failure();
    ServiceAnswer answer;
    const auto signals = describeSignals(model);
    answer.add("SigCount", signals.size());
    for (const SignalDescription& signal : signals) {
        pugi::xml_node element = appendText(answer.params(), "SigId", referenceOf(signal.place));
        const auto add = [&](const char* name, const std::string& value) {
            element.append_attribute(name).set_value(value.c_str());
        };
        add("name", signal.name);
        add("unit", signal.unit);
        add("rate", std::to_string(signal.times.rate));
        add("dataType", typeText(signal));
        add("kind", std::to_string(signal.recordKind));
        add("enabled", signal.isEnabled ? "1" : "0");
    }
    return answer.outcome();
}

Outcome listAsText(ModuleModel& model, const MethodCall& call)
{
    ServiceRequest request{call.data};
    if (!request.isGood())
        return request.failure();
    std::string list;
    for (const SignalDescription& signal : describeSignals(model))
        list += referenceOf(signal.place) + '\t' + field(signal.name) + '\t' + field(signal.unit) +
                '\t' + std::to_string(signal.times.rate) + '\t' + typeText(signal) + '\t' +
                std::to_string(signal.recordKind) + '\t' + (signal.isEnabled ? "1\n" : "0\n");
    return {0, list};
}

Outcome oneCurrentValue(ModuleModel& model, ServiceRequest& request)
{
    const std::string name = request.text("SigId");
    const auto scale = request.number("ScaleType");
    if (!request.isGood())
        return request.failure();
    const auto signal = findSignal(model, name);
    if (!signal)
        return noSuchSignal(model, name);
    const auto notPossible = [&](const char* why) {
        return Outcome{kScalingNotPossible,
                       "scale type " + std::to_string(scale) + " of " + quoted(name) + why};
    };
    if (scale > static_cast<std::uint32_t>(ScaleType::physical))
        return notPossible(": there are 0 raw, 1 electrical and 2 physical");
    if (!signal->isEnabled)
        return switchedOff(name);
    const auto value = model.measurements.currentValue(*signal, static_cast<ScaleType>(scale));
    if (!value)
        return notPossible(": this kind of signal has no such value");
    return ServiceAnswer{}.add("MeasVal", plainNumber(*value)).outcome();
}

Outcome allCurrentValues(ModuleModel& model, bool enabledOnly)
{
    auto signals = describeSignals(model);
    if (enabledOnly)
        std::erase_if(signals, [](const auto& signal) { return !signal.isEnabled; });
    ServiceAnswer answer;
    answer.add("SigCount", signals.size());
    for (const SignalDescription& signal : signals) {
        const auto value = model.measurements.currentValue(signal, ScaleType::physical);
        answer.add("SigId", referenceOf(signal.place));
        answer.add("MeasVal", plainNumber(value.value_or(kNoValue)));
    }
    return answer.outcome();
}

Outcome currentValues(ModuleModel& model, const MethodCall& call)
{
    ServiceRequest request{call.data};
    if (!request.isGood())
        return request.failure();
    if (!request.has("EnabledOnly"))
        return oneCurrentValue(model, request);
    const auto enabledOnly = request.number("EnabledOnly");
    return request.isGood() ? allCurrentValues(model, enabledOnly == 1) : request.failure();
}

} // namespace

MethodAnswer answerMeasurements(ModuleModel& model, const MethodCall& call)
{
    switch (MeasurementMethod{call.id.method}) {
    case MeasurementMethod::readBlock:
        return fetchBlock(model, call);
    case MeasurementMethod::subscribe:
        return subscribe(model, call);
    case MeasurementMethod::unsubscribe:
        return unsubscribe(model, call);
    case MeasurementMethod::listSignals:
        return listSignals(model, call);
    case MeasurementMethod::readValues:
        return currentValues(model, call);
    case MeasurementMethod::listSignalsAsText:
        return listAsText(model, call);
    }
    return unknownMethod(call.id);
}

} // namespace zel::simulator
