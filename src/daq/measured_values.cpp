#include "measured_values.h"

#include "cut_text.h"
#include "request_document.h"
#include "response_document.h"
#include "signal_path.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace zel::daq {

using wire::MeasurementMethod;

namespace {

void fill(ZEL_SignalInfo& info, pugi::xml_node signal)
{
    cutText(wholeText(signal), info.id);
}

void fill(ZEL_SignalInfoEx& info, pugi::xml_node signal)
{
    info = {};
    const std::string reference = wholeText(signal);
    cutText(reference, info.id);
    if (const auto numbers = signals::numbersOf(reference, ZEL_CONNECTOR_CAN_ADDITIONAL)) {
        info.connectorType = numbers->type;
        info.connector = numbers->connector;
        info.channel = std::max(numbers->channel, 1u);
        info.signal = numbers->signal;
        cutText(signals::signalPath(*numbers, signals::PathForm::address), info.path);
    }
    cutText(signal.attribute("name").value(), info.name);
    cutText(signal.attribute("unit").value(), info.unit);
    double rate = 0;
    if (parseNumber(signal.attribute("rate").value(), rate) == ZEL_OK && rate >= 0)
        info.sampleRate = rate;
    info.dataType = numberOrZero<std::uint32_t>(signal.attribute("dataType").value());
    info.recordKind = numberOrZero<std::uint32_t>(signal.attribute("kind").value());
    info.isEnabled = numberOrZero<std::uint32_t>(signal.attribute("enabled").value()) == 1 ? 1 : 0;
}

/// The value that belongs to a "SigId" is the "MeasVal" right behind it.
std::int32_t fill(ZEL_MeasuredValue& value, pugi::xml_node signal)
{
    const pugi::xml_node measured = signal.next_sibling();
    if (std::string_view{measured.name()} != "MeasVal")
        return ZEL_PARAM_XML_ERROR;
    cutText(wholeText(signal), value.id);
    return parseNumber(wholeText(measured), value.value);
}

/// Reads a list of "SigId": `take(index, node)` fills the entries that there is room for.
template <class Take>
std::int32_t readList(const RemoteModule& module, wire::MethodId method, std::string request,
                      std::size_t room, std::uint64_t& count, Take&& take)
{
    count = 0;
    clResponseDocument document;
    const std::int32_t called = sendForDocument(module, method, std::move(request), document);
    if (hasFailed(called))
        return called;
    std::uint64_t found = 0;
    for (const pugi::xml_node signal : document.root().children("SigId")) {
        if (found < room) {
            if (const std::int32_t result = take(found, signal); result != ZEL_OK)
                return result;
        }
        ++found;
    }
    count = found;
    return found > room ? ZEL_SRV_BUFFER_TOO_SMALL : called;
}

} // namespace

std::string blockRequest(std::uint64_t size)
{
    return clRequestDocument{}.addNumber("MaxSize", size).take();
}

std::int32_t readBlock(const RemoteModule& module, void* buffer, std::uint64_t size,
                       std::uint64_t& received)
{
    return sendForBytes(module, MeasurementMethod::readBlock, blockRequest(size), buffer, size,
                        received);
}

std::int32_t readSignalsText(const RemoteModule& module, const TextBuffer& buffer)
{
    return sendForText(module, MeasurementMethod::listSignalsAsText, clRequestDocument{}.take(),
                       buffer);
}

std::int32_t toPath(const char* signal, std::string& path)
{
    const std::string_view text = signal;
    if (text.find('/') != std::string_view::npos) {
        path = text;
        return ZEL_OK;
    }
    path = signals::pathOf(text);
    if (!path.empty())
        return ZEL_OK;
    switch (signals::kindOf(text)) {
    case signals::ReferenceKind::other:
        // Some words name a kind of signal without counting as one.
        return signals::parseReference(text) ? ZEL_SIGNAL_NOT_SUPPORTED : ZEL_SIGNAL_UNKNOWN;
    case signals::ReferenceKind::analogIn:
    case signals::ReferenceKind::canReceiver:
    case signals::ReferenceKind::fiber:
        return ZEL_SIGNAL_NOT_CORRECT;
    default:
        return ZEL_SIGNAL_NOT_SUPPORTED;
    }
}

std::int32_t readValue(const RemoteModule& module, const char* signal, std::uint32_t scaleType,
                       double& value)
{
    std::string path;
    if (const std::int32_t result = toPath(signal, path); result != ZEL_OK)
        return result;
    clResponseDocument document;
    const std::int32_t called = sendForDocument(
        module, MeasurementMethod::readValues,
        clRequestDocument{}.addText("SigId", path).addNumber("ScaleType", scaleType).take(),
        document);
    if (hasFailed(called))
        return called;
    const std::int32_t result = document.requireNumber("MeasVal", value);
    return result != ZEL_OK ? result : called;
}

std::int32_t readAllValues(const RemoteModule& module, bool enabledOnly,
                           std::span<ZEL_MeasuredValue> values, std::uint64_t& count)
{
    return readList(
        module, MeasurementMethod::readValues,
        clRequestDocument{}.addFlag("EnabledOnly", enabledOnly).take(), values.size(), count,
        [&](std::uint64_t index, pugi::xml_node signal) { return fill(values[index], signal); });
}

template <class Info>
std::int32_t readSignals(const RemoteModule& module, std::span<Info> signals, std::uint64_t& count)
{
    return readList(module, MeasurementMethod::listSignals, clRequestDocument{}.take(),
                    signals.size(), count, [&](std::uint64_t index, pugi::xml_node signal) {
                        fill(signals[index], signal);
                        return ZEL_OK;
                    });
}

template std::int32_t readSignals(const RemoteModule&, std::span<ZEL_SignalInfo>, std::uint64_t&);
template std::int32_t readSignals(const RemoteModule&, std::span<ZEL_SignalInfoEx>, std::uint64_t&);

} // namespace zel::daq
