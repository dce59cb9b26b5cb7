#include "run_file.h"

#include "command_failure.h"
#include "file_content.h"
#include "suggestions.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <string_view>

// Its own exceptions would need a parser compiled into the program.
#include <toml++/toml.h>

namespace zel::cli {

namespace {

using acquisition::ModuleRequest;
using acquisition::SignalRequest;

/// The tables of a run file, each of whose keys has to be used.
class RunFile {
public:
    explicit RunFile(const std::string& file) : m_file(file) {}

    [[noreturn]] void refuse(const toml::node& node, const std::string& why) const
    {
        refuse(node.source(), why);
    }
    [[noreturn]] void refuse(const toml::source_region& where, const std::string& why,
                             const std::string& advice = {}) const
    {
        throw CommandFailure(
            {.problem = m_file + ", line " + std::to_string(where.begin.line) + ": " + why,
             .advice = advice});
    }

    void requireKnown(const toml::table& table, const std::vector<std::string>& known,
                      const std::string& name) const
    {
        for (const auto& [key, value] : table) {
            const std::string text{key.str()};
            if (std::ranges::find(known, text) != known.end())
                continue;
            const std::string meant = closestTo(text, known);
            refuse(key.source(), "unknown key '" + text + "' in " + name,
                   meant.empty() ? "" : "did you mean '" + meant + "'?");
        }
    }

    std::optional<std::string> text(const toml::table& table, std::string_view key) const
    {
        const toml::node* const node = table.get(key);
        if (!node)
            return {};
        if (const auto* const value = node->as_string())
            return value->get();
        refuse(*node, "'" + std::string{key} + "' has to be a text in quotes");
    }

    std::optional<double> number(const toml::table& table, std::string_view key) const
    {
        const toml::node* const node = table.get(key);
        if (!node)
            return {};
        const auto value = node->is_number() ? node->value<double>() : std::nullopt;
        if (!value || !std::isfinite(*value) || *value < 0)
            refuse(*node, "'" + std::string{key} + "' has to be a number from 0 on");
        return value;
    }

    bool flag(const toml::table& table, std::string_view key, bool otherwise) const
    {
        const toml::node* const node = table.get(key);
        if (!node)
            return otherwise;
        if (const auto* const value = node->as_boolean())
            return value->get();
        refuse(*node, "'" + std::string{key} + "' has to be true or false");
    }

    /// A text with a unit, or a number.
    template <class Read>
    std::optional<std::uint64_t> quantity(const toml::table& table, std::string_view key,
                                          Read&& read, const std::string& such) const
    {
        const toml::node* const node = table.get(key);
        if (!node)
            return {};
        std::string written;
        if (const auto* const value = node->as_string())
            written = value->get();
        else if (const auto plain = node->is_number() ? node->value<double>() : std::nullopt)
            written = std::to_string(*plain);
        const auto result = read(written);
        if (!result)
            refuse(*node, "'" + std::string{key} + "' has to be " + such);
        return result;
    }

private:
    const std::string m_file;
};

const std::string kSuchTime = "a time above 0 such as \"90s\", \"15min\" or \"1h\"";

SignalRequest signalOf(const RunFile& file, const toml::node& node)
{
    if (const auto* const pattern = node.as_string())
        return {pattern->get(), {}, {}};
    const toml::table* const table = node.as_table();
    if (!table)
        file.refuse(node, "a signal is a text or a table with 'signal'");
    file.requireKnown(*table, {"signal", "column", "rate"}, "a signal");
    const auto pattern = file.text(*table, "signal");
    if (!pattern)
        file.refuse(node, "this signal has no 'signal'");
    return {*pattern, file.text(*table, "column").value_or(""), file.number(*table, "rate")};
}

ModuleRequest moduleOf(const RunFile& file, const toml::node& node)
{
    const toml::table* const table = node.as_table();
    if (!table)
        file.refuse(node, "modules are tables: [[module]]");
    file.requireKnown(*table, {"address", "label", "rate", "signals"}, "[[module]]");
    const auto address = file.text(*table, "address");
    if (!address)
        file.refuse(node, "this module has no 'address'");
    ModuleRequest module;
    try {
        module.target = ModuleTarget::parse(*address);
    } catch (const std::invalid_argument& error) {
        file.refuse(*table->get("address"), error.what());
    }
    module.label = file.text(*table, "label").value_or("");
    module.rate = file.number(*table, "rate");
    const toml::array* const signals = table->get_as<toml::array>("signals");
    if (!signals || signals->empty())
        file.refuse(node, "this module has no list of 'signals'");
    for (const toml::node& signal : *signals)
        module.signals.push_back(signalOf(file, signal));
    return module;
}

void readRecording(const RunFile& file, const toml::table& table, RecordRequest& request)
{
    file.requireKnown(table,
                      {"out", "format", "force", "file-for-each-rate", "deflate", "sync",
                       "duration", "start-at", "split", "memory", "reconnect", "align"},
                      "[recording]");
    request.out = file.text(table, "out").value_or("");
    if (request.out == "-")
        request.out.clear();
    if (const auto format = file.text(table, "format")) {
        request.format = formatNamed(*format);
        if (!request.format)
            file.refuse(*table.get("format"), "'format' is one of csv, h5, jsonl and f32");
    }
    request.mayReplace = file.flag(table, "force", false);
    request.hasFileForEachRate = file.flag(table, "file-for-each-rate", false);
    if (const auto level = file.number(table, "deflate")) {
        if (*level > 9 || *level != std::floor(*level))
            file.refuse(*table.get("deflate"), "'deflate' is a whole number from 0 to 9");
        request.deflate = static_cast<unsigned>(*level);
    }
    if (const auto time = file.quantity(table, "sync", timeSpan, kSuchTime))
        request.sync = static_cast<double>(*time) / 1e9;
    request.plan.duration = file.quantity(table, "duration", timeSpan, kSuchTime).value_or(0);
    if (table.get("start-at"))
        request.plan.startAt =
            file.quantity(table, "start-at", pointInTime,
                          "a time such as \"18:00\" or \"2026-11-21T18:00:00Z\", in quotes");
    if (const auto split = file.text(table, "split")) {
        request.plan.splitTime = timeSpan(*split).value_or(0);
        request.plan.splitBytes = dataSize(*split).value_or(0);
        if (request.plan.splitTime == 0 && request.plan.splitBytes == 0)
            file.refuse(*table.get("split"), "'split' is a time such as \"1h\" or a size such as "
                                             "\"1GB\"");
    }
    if (const auto memory = file.quantity(table, "memory", dataSize, "a size such as \"256MiB\""))
        request.plan.memory = static_cast<std::size_t>(*memory);
    request.mayReconnect = file.flag(table, "reconnect", true);
    const auto align = file.text(table, "align").value_or("module");
    if (align != "host" && align != "module")
        file.refuse(*table.get("align"), "'align' is \"host\" or \"module\"");
    request.isOnHostTime = align == "host";
}

void readTrigger(const RunFile& file, const toml::table& table, RecordRequest& request)
{
    file.requireKnown(table, {"module", "signal", "when", "before", "repeat"}, "[trigger]");
    const auto signal = file.text(table, "signal");
    const auto condition = file.text(table, "when");
    if (!signal || !condition)
        file.refuse(table, "[trigger] needs 'signal' and 'when'");
    request.triggerModule = file.text(table, "module").value_or("");
    request.triggerSignal = *signal;
    try {
        request.plan.trigger = acquisition::TriggerCondition::parse(*condition);
    } catch (const std::invalid_argument& error) {
        file.refuse(*table.get("when"), error.what());
    }
    request.plan.preTrigger = file.quantity(table, "before", timeSpan, kSuchTime).value_or(0);
    if (const auto repeat = file.number(table, "repeat"))
        request.plan.repeats = static_cast<std::uint64_t>(*repeat);
}

} // namespace

RecordRequest readRunFile(const std::string& name)
{
    const RunFile file(name);
    const std::string content = readHostFile(name);
    toml::table table;
    try {
        table = toml::parse(content, name);
    } catch (const toml::parse_error& error) {
        file.refuse(error.source(), std::string{error.description()});
    }
    file.requireKnown(table, {"recording", "trigger", "module"}, "the file");
    RecordRequest request;
    const toml::array* const modules = table.get_as<toml::array>("module");
    if (!modules || modules->empty())
        throw CommandFailure({.problem = name + " names no module",
                              .advice = "a module is a table [[module]] with address and signals"});
    for (const toml::node& module : *modules)
        request.modules.push_back(moduleOf(file, module));
    for (const std::string_view section : {"recording", "trigger"}) {
        const toml::node* const node = table.get(section);
        if (!node)
            continue;
        if (!node->is_table())
            file.refuse(*node, "[" + std::string{section} + "] is a table");
        if (section == "recording")
            readRecording(file, *node->as_table(), request);
        else
            readTrigger(file, *node->as_table(), request);
    }
    return request;
}

} // namespace zel::cli
