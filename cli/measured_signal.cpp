#include "measured_signal.h"

#include "command_failure.h"
#include "ZEL_VR_Framework.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include <nlohmann/json.hpp>

namespace zel::cli {

namespace {

double noValue()
{
    double value = 0;
    ZEL_XUTIL_GetNilValues(&value, nullptr, nullptr);
    return value;
}

} // namespace

std::vector<MeasuredSignal> listSignals(const ModuleConnection& module)
{
    constexpr int kAttempts = 5;
    std::vector<ZEL_SignalInfoEx> infos(256);
    std::uint64_t count = 0;
    std::int32_t code = ZEL_OK;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        code = ZEL_XDAQ_GetSignalListEx(module.uuid(), infos.data(), &count, infos.size());
        if (code != ZEL_SRV_BUFFER_TOO_SMALL)
            break;
        infos.resize(count);
    }
    module.checkReading(code, "list the signals");
    std::vector<MeasuredSignal> signals;
    for (std::size_t i = 0; i < std::min<std::size_t>(count, infos.size()); ++i) {
        const ZEL_SignalInfoEx& info = infos[i];
        signals.push_back({info.id, info.name, info.unit, info.path, info.sampleRate, info.dataType,
                           info.recordKind, info.isEnabled == 1});
    }
    return signals;
}

std::vector<MeasuredSignal> chooseSignals(const std::vector<MeasuredSignal>& all,
                                          const std::vector<std::string>& texts,
                                          const ModuleConnection& module)
{
    std::vector<MeasuredSignal> chosen;
    for (const auto& text : texts) {
        const auto byReference =
            std::ranges::find(all, text, [](const auto& signal) { return signal.reference; });
        const auto hasName = [&](const MeasuredSignal& signal) { return signal.name == text; };
        const auto found =
            byReference != all.end() ? byReference : std::ranges::find_if(all, hasName);
        if (found == all.end()) {
            throw CommandFailure(
                {.problem = module.address() + " has no signal '" + text + "'",
                 .advice = "'zel signals " + module.address() + "' lists those that it has"});
        }
        if (byReference == all.end() && std::ranges::count_if(all, hasName) > 1) {
            throw CommandFailure(
                {.problem =
                     "several signals of " + module.address() + " have the name '" + text + "'",
                 .advice = "name it by its reference, such as " + found->reference});
        }
        chosen.push_back(*found);
    }
    return chosen;
}

std::string dataTypeName(std::uint32_t dataType)
{
    switch (dataType) {
    case ZEL_DAQ_INT32:
        return "Int32";
    case ZEL_DAQ_INT64:
        return "Int64";
    case ZEL_DAQ_REAL32:
        return "Float32";
    case ZEL_DAQ_REAL64:
        return "Float64";
    case ZEL_DAQ_TIMED_INT64:
        return "Int64, timed";
    case ZEL_DAQ_TIMED_INT32:
        return "Int32, timed";
    case ZEL_DAQ_TIMED_REAL64:
        return "Float64, timed";
    case ZEL_DAQ_TIMED_REAL32:
        return "Float32, timed";
    case ZEL_DAQ_TIMED_UINT64:
        return "UInt64, timed";
    case ZEL_DAQ_TIMED_UINT32:
        return "UInt32, timed";
    default:
        return std::to_string(dataType);
    }
}

std::string shortNumber(double value)
{
    constexpr double kLargest = 1e15; // whole numbers up to here are written without an exponent
    char text[32];
    const bool isWhole = std::fabs(value) < kLargest && value == std::trunc(value);
    const auto end =
        isWhole ? std::to_chars(std::begin(text), std::end(text), static_cast<std::int64_t>(value))
                : std::to_chars(std::begin(text), std::end(text), value);
    return {text, end.ptr};
}

bool isNoValue(double value)
{
    return value == noValue();
}

std::string valueText(double value)
{
    return isNoValue(value) ? "-" : shortNumber(value);
}

nlohmann::json valueJson(double value)
{
    return isNoValue(value) ? nlohmann::json{} : nlohmann::json(value);
}

} // namespace zel::cli
