#include "measured_signal.h"

#include "command_failure.h"

#include <charconv>
#include <cmath>

#include <nlohmann/json.hpp>

namespace zel::cli {

std::vector<MeasuredSignal> listSignals(const ModuleConnection& module)
{
    return module.ask({"list the signals"}, [](const Module& one) { return one.signals(); });
}

std::vector<MeasuredSignal> chooseSignals(const std::vector<MeasuredSignal>& all,
                                          const std::vector<std::string>& texts,
                                          const ModuleConnection& module)
{
    std::vector<MeasuredSignal> chosen;
    for (const auto& text : texts) {
        const auto found = findSignals(all, text);
        if (found.empty()) {
            throw CommandFailure(
                {.problem = module.address() + " has no signal '" + text + "'",
                 .advice = "'zel signals " + module.address() + "' lists those that it has"});
        }
        if (found.size() > 1) {
            throw CommandFailure(
                {.problem =
                     "several signals of " + module.address() + " have the name '" + text + "'",
                 .advice = "name it by its reference, such as " + found.front().reference});
        }
        chosen.push_back(found.front());
    }
    return chosen;
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

bool isNone(double value)
{
    return value == noValue<double>;
}

std::string valueText(double value)
{
    return isNone(value) ? "-" : shortNumber(value);
}

nlohmann::json valueJson(double value)
{
    return isNone(value) ? nlohmann::json{} : nlohmann::json(value);
}

} // namespace zel::cli
