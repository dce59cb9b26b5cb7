#include "signal_numbers.h"

#include "command_failure.h"
#include "measured_signal.h"
#include "number_text.h"
#include "ZEL_VR_Framework.h"

#include <algorithm>
#include <string_view>

namespace zel::cli {

namespace {

std::uint32_t requireNumber(const std::string& text, const std::string& what)
{
    const auto number = wholeNumber<std::uint32_t>(text);
    if (!number || *number == 0) {
        throw CommandFailure(
            {.problem = "'" + text + "' is no number of a " + what,
             .advice =
                 "a signal is named in one word, by its reference or name, or by two numbers: "
                 "connector and signal, each from 1"});
    }
    return *number;
}

/// A path can be written in several ways: with and without the choice, `Connector1` or
/// `Connector[@address="1"]`.
std::string shortPath(std::string_view path)
{
    std::string text;
    path.remove_prefix(path.starts_with('/') ? 1 : 0);
    while (!path.empty()) {
        const auto bracket = path.find('[');
        text += path.substr(0, bracket);
        path.remove_prefix(std::min(bracket, path.size()));
        const std::string_view condition = path.substr(0, path.find(']'));
        if (condition.starts_with("[@address=\"") && condition.ends_with('"'))
            text += condition.substr(11, condition.size() - 12);
        path.remove_prefix(std::min(condition.size() + 1, path.size()));
    }
    return text;
}

std::string referenceOf(const ModuleConnection& module, const std::string& text)
{
    const auto all = listSignals(module);
    const auto isPath = [wanted = shortPath(text)](const MeasuredSignal& signal) {
        return !signal.path.empty() && shortPath(signal.path) == wanted;
    };
    const auto byPath = std::ranges::find_if(all, isPath);
    return byPath != all.end() ? byPath->reference
                               : chooseSignals(all, {text}, module).front().reference;
}

} // namespace

void requireConnector(std::uint32_t connector)
{
    if (connector == 0) {
        throw CommandFailure({.problem = "there is no connector 0",
                              .advice = "connectors are counted from 1, as on the module's label"});
    }
}

SignalNumbers signalNumbers(const ModuleConnection& module, const std::vector<std::string>& words)
{
    if (words.size() == 2)
        return {requireNumber(words[0], "connector"), requireNumber(words[1], "signal")};
    const std::string reference = referenceOf(module, words.front());
    SignalNumbers numbers;
    std::uint32_t channel = 0;
    std::uint32_t type = 0;
    ZEL_XUTIL_ParseSignalPath(reference.c_str(), 0, &numbers.connector, &channel, &numbers.signal,
                              &type);
    if (type != ZEL_CONNECTOR_ANALOG) {
        throw CommandFailure(
            {.problem = reference + " is no signal of an analog input",
             .advice = "'zel signals " + module.address() + "' lists them: AnalogIn_Connector..."});
    }
    return numbers;
}

} // namespace zel::cli
