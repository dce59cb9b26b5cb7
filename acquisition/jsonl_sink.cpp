#include "jsonl_sink.h"

#include "batch_parts.h"
#include "ZEL_VR_Framework.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace zel::acquisition {

namespace {

std::string member(const char* name, std::string_view text)
{
    return std::string{'"'} + name + "\":" + jsonText(text);
}

std::string number(double value)
{
    char text[kLongestNumber];
    return {text, std::to_chars(std::begin(text), std::end(text), value).ptr};
}

template <class T>
char* putJsonValue(char* place, T value)
{
    constexpr std::string_view kNull = "null";
    if constexpr (std::is_floating_point_v<T>)
        if (std::isinf(value))
            return std::copy(kNull.begin(), kNull.end(), place);
    return putValue(place, value, kNull);
}

/// Numbers between brackets.
template <class T, class Put>
void addArray(TextBuffer& text, std::span<const T> values, Put put)
{
    char* place = text.room(values.size() * (kLongestNumber + 1) + 2);
    *place++ = '[';
    for (const T value : values) {
        place = put(place, value);
        *place++ = ',';
    }
    if (!values.empty())
        --place;
    *place++ = ']';
    text.end(place);
}

} // namespace

JsonlSink::JsonlSink(const Setup& setup, const OutputTarget& target)
    : m_setup(setup), m_output(target), m_text(m_output.waiting())
{
    for (const SignalInfo& signal : setup.signals)
        m_names.push_back(
            member("module", setup.modules[signal.module].label) + ',' +
            member("signal", signal.column.empty() ? signal.reference : signal.column));
    m_output.file().clear();
    addBegin();
    m_output.write();
}

void JsonlSink::addBegin()
{
    std::string text = R"({"type":"begin","recorder":"zel","time":)" +
                       std::to_string(m_setup.begin) + R"(,"onHostTime":)" +
                       (m_setup.isOnHostTime ? "true" : "false") + R"(,"modules":[)";
    for (const ModuleInfo& module : m_setup.modules)
        text += '{' + member("label", module.label) + ',' + member("address", module.address) +
                ',' + member("uuid", uuidText(module.uuid)) + ',' + member("name", module.name) +
                "},";
    if (text.ends_with(','))
        text.pop_back();
    text += R"(],"signals":[)";
    for (std::size_t i = 0; i < m_setup.signals.size(); ++i) {
        const SignalInfo& signal = m_setup.signals[i];
        text += '{' + m_names[i] + ',' + member("reference", signal.reference) + ',' +
                member("name", signal.name) + ',' + member("unit", signal.unit) + ',' +
                member("path", signal.path) + ',' + member("type", nameOf(signal.type)) +
                ",\"rate\":" + (signal.isEven ? rateText(signal.rate) : "null") +
                ",\"calibration\":{";
        for (const auto& [name, value] : signal.calibration)
            text += jsonText(name) + ':' + jsonText(value) + ',';
        if (text.ends_with(','))
            text.pop_back();
        text += "}},";
    }
    if (text.ends_with(','))
        text.pop_back();
    m_text.add(text + "]}\n");
}

bool JsonlSink::write(const Batch& batch)
{
    if (!m_output.write())
        return false;
    for (const BatchPart& part : partsOf(batch)) {
        if (part.chunk != nullptr)
            addChunk(batch, *part.chunk);
        else
            addGap(*part.gap);
    }
    if (batch.clock && m_clocks.isNotable(*batch.clock))
        addClock(*batch.clock);
    m_output.write(); // what finds no room comes first the next time
    return true;
}

void JsonlSink::addChunk(const Batch& batch, const Chunk& chunk)
{
    if (chunk.count == 0)
        return;
    m_text.add(R"({"type":"samples",)" + m_names[chunk.signal] +
               ",\"index\":" + std::to_string(chunk.index));
    if (chunk.line.rate != 0) {
        m_text.add(",\"time\":" + std::to_string(batch.timeOf(chunk, 0)) +
                   ",\"period\":" + number(1e12 / static_cast<double>(chunk.line.rate)));
    } else {
        m_text.add(",\"times\":");
        addArray(m_text, batch.timesOf(chunk),
                 [](char* place, std::uint64_t time) { return putValue(place, time); });
    }
    m_text.add(",\"values\":");
    withValueType(m_setup.signals[chunk.signal].type, [&]<class T>() {
        addArray(m_text, batch.valuesOf<T>(chunk),
                 [](char* place, T value) { return putJsonValue(place, value); });
    });
    m_text.add("}\n");
    m_samples += chunk.count;
}

void JsonlSink::addGap(const Gap& gap)
{
    m_text.add(
        R"({"type":"gap",)" + m_names[gap.signal] + ",\"index\":" + std::to_string(gap.index) +
        ",\"count\":" + std::to_string(gap.count) + ",\"begin\":" + std::to_string(gap.begin) +
        ",\"end\":" + std::to_string(gap.end) + ',' + member("cause", nameOf(gap.cause)) + "}\n");
    m_missing += gap.count;
}

void JsonlSink::addClock(const ClockEstimate& clock)
{
    m_text.add(R"({"type":"clock",)" + member("module", m_setup.modules[clock.module].label) +
               ",\"time\":" + std::to_string(clock.moduleTime) +
               ",\"offset\":" + std::to_string(clock.offset) + ",\"drift\":" + number(clock.drift) +
               ",\"uncertainty\":" + std::to_string(clock.uncertainty) + "}\n");
}

void JsonlSink::finish(const std::string& cause)
{
    m_text.add(R"({"type":"end",)" + member("cause", cause) + ",\"samples\":" +
               std::to_string(m_samples) + ",\"missing\":" + std::to_string(m_missing) + "}\n");
    m_output.finish();
}

} // namespace zel::acquisition
