// zel signals, read and watch: what a module measures, and what it measures now.

#include "application.h"
#include "interrupt.h"
#include "measured_signal.h"
#include "module_session.h"
#include "number_text.h"
#include "printable.h"
#include "sample.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <sstream>
#include <thread>

#include <nlohmann/json.hpp>

namespace zel::cli {

namespace {

constexpr auto kGroup = "Measured values";

struct ValueArguments {
    std::string address;
    std::vector<std::string> signals;
    bool isEnabledOnly = false;
    double interval = 0.5;
    std::uint64_t count = 0;
};

struct Reading {
    MeasuredSignal signal;
    double value = 0;
};

void signals(CommandOutput& output, const ValueArguments& arguments)
{
    const ModuleSession session(arguments.address);
    TextTable table({{"Reference"},
                     {"Name"},
                     {"Unit"},
                     {"Rate", Align::right},
                     {"Type"},
                     {"Kind", Align::right},
                     {"On"}});
    auto entries = nlohmann::json::array();
    for (const MeasuredSignal& signal : listSignals(session)) {
        if (arguments.isEnabledOnly && !signal.isEnabled)
            continue;
        table.addRow({signal.reference, signal.name, signal.unit,
                      signal.sampleRate > 0 ? shortNumber(signal.sampleRate) + " Hz" : "-",
                      dataTypeName(signal.dataType), std::to_string(signal.recordKind),
                      signal.isEnabled ? "yes" : "no"});
        entries.push_back({{"reference", signal.reference},
                           {"name", signal.name},
                           {"unit", signal.unit},
                           {"path", signal.path},
                           {"sampleRate", signal.sampleRate},
                           {"dataType", signal.dataType},
                           {"recordKind", signal.recordKind},
                           {"enabled", signal.isEnabled}});
    }
    if (output.isJson)
        output.json(session.identity(), {{"signals", entries}});
    else
        output.table(table, "the module has no signals");
}

std::vector<Reading> readAll(const ModuleSession& session, const std::vector<MeasuredSignal>& known)
{
    std::vector<Reading> readings;
    for (const MeasuredValue& one :
         session.ask({"read the values"}, [](const Module& module) { return module.values(); })) {
        Reading reading;
        reading.signal.reference = one.reference;
        for (const MeasuredSignal& signal : known)
            if (signal.reference == one.reference)
                reading.signal = signal;
        reading.value = one.value;
        readings.push_back(std::move(reading));
    }
    return readings;
}

/// What asks for the same signals again and again.
class Reader {
public:
    Reader(const ModuleSession& session, const std::vector<std::string>& texts)
        : m_session(session), m_all(listSignals(session)), m_isAll(texts.empty())
    {
        // A path that the module's list does not show is asked for as it is.
        for (const auto& text : texts)
            if (text.find('/') != std::string::npos)
                m_chosen.emplace_back().reference = text;
            else
                m_chosen.push_back(chooseSignals(m_all, {text}, session).front());
    }

    std::vector<Reading> read() const
    {
        if (m_isAll)
            return readAll(m_session, m_all);
        std::vector<Reading> readings;
        for (const MeasuredSignal& signal : m_chosen) {
            Reading reading{signal};
            // The path of the list is right for every signal that has one.
            reading.value =
                m_session.ask({"read " + signal.reference,
                               "'zel signals " + m_session.address() + "' lists the signals"},
                              [&](const Module& module) { return module.value(signal.reference); });
            readings.push_back(std::move(reading));
        }
        return readings;
    }

private:
    const ModuleSession& m_session;
    const std::vector<MeasuredSignal> m_all;
    const bool m_isAll;
    std::vector<MeasuredSignal> m_chosen;
};

std::string unitOf(const Reading& reading)
{
    return isNone(reading.value) ? "no value" : reading.signal.unit;
}

TextTable tableOf(const std::vector<Reading>& readings)
{
    TextTable table({{"Signal"}, {"Name"}, {"Value", Align::right}, {"Unit"}});
    for (const Reading& reading : readings) {
        table.addRow({reading.signal.reference, reading.signal.name, valueText(reading.value),
                      unitOf(reading)});
    }
    return table;
}

nlohmann::json jsonOf(const std::vector<Reading>& readings)
{
    auto entries = nlohmann::json::array();
    for (const Reading& reading : readings) {
        entries.push_back({{"reference", reading.signal.reference},
                           {"name", reading.signal.name},
                           {"value", valueJson(reading.value)},
                           {"unit", reading.signal.unit}});
    }
    return entries;
}

void read(CommandOutput& output, const ValueArguments& arguments)
{
    const ModuleSession session(arguments.address);
    const auto readings = Reader(session, arguments.signals).read();
    if (output.isJson) {
        output.json(session.identity(), {{"values", jsonOf(readings)}});
    } else if (arguments.signals.size() == 1) {
        const Reading& reading = readings.front();
        output.value(isNone(reading.value)
                         ? "no value"
                         : valueText(reading.value) + (reading.signal.unit.empty() ? "" : " ") +
                               reading.signal.unit);
    } else {
        output.table(tableOf(readings), "no signal is switched on");
    }
}

std::uint64_t hostTime()
{
    using namespace std::chrono;
    return static_cast<std::uint64_t>(
        duration_cast<nanoseconds>(system_clock::now().time_since_epoch()).count());
}

/// "2026-11-21T05:46:00.123Z", the host's time
std::string hostTimeText()
{
    constexpr std::size_t kSmallerThanMilliseconds = 6;
    std::string text = utcText(hostTime());
    return text.erase(text.size() - 1 - kSmallerThanMilliseconds, kSmallerThanMilliseconds);
}

/// Values again and again: on a terminal in the place of the ones before, else as lines below one
/// heading.
class Screen {
public:
    explicit Screen(CommandOutput& output) : m_output(output) {}

    void show(const std::string& time, const std::vector<Reading>& readings)
    {
        if (m_output.isOnTerminal())
            draw(time, readings);
        else
            append(time, readings);
        m_output.finish();
    }

private:
    void append(const std::string& time, const std::vector<Reading>& readings)
    {
        TextTable table({{"Time"}, {"Signal"}, {"Name"}, {"Value", Align::right}, {"Unit"}});
        for (const Reading& reading : readings) {
            table.addRow({time, reading.signal.reference, reading.signal.name,
                          valueText(reading.value), unitOf(reading)});
        }
        const std::string text = table.text();
        m_output.bytes(text.substr(m_hasHeading ? text.find('\n') + 1 : 0));
        m_hasHeading = true;
    }

    /// What a narrow terminal cuts off must not be the values.
    static std::string linesOf(const std::vector<Reading>& readings)
    {
        TextTable table({{"Value", Align::right}, {"Unit"}, {"Signal"}, {"Name"}});
        for (const Reading& reading : readings) {
            table.addRow({valueText(reading.value), unitOf(reading), reading.signal.reference,
                          reading.signal.name});
        }
        return readings.empty() ? "no signal is switched on\n" : table.text();
    }

    void draw(const std::string& time, const std::vector<Reading>& readings)
    {
        const TerminalSize size = m_output.terminalSize();
        // What was drawn for another width may have wrapped: nobody knows where it is now.
        const bool isResized = size.columns != m_size.columns || size.lines != m_size.lines;
        m_output.bytes(m_lines == 0 ? ""
                       : isResized  ? "\x1b[2J\x1b[H"
                                    : "\x1b[" + std::to_string(m_lines) + "A");
        m_size = size;
        std::istringstream lines(time + '\n' + linesOf(readings));
        const std::size_t count = readings.empty() ? 2 : readings.size() + 2;
        m_lines = std::min(count, size.lines - 1); // the last one is the cursor's
        const bool isCut = m_lines < count;
        std::string line;
        for (std::size_t i = 0; i + (isCut ? 1 : 0) < m_lines && std::getline(lines, line); ++i)
            putLine(line);
        if (isCut)
            putLine("... " + std::to_string(count - m_lines + 1) + " more: name those to watch");
        m_output.bytes("\x1b[J");
    }

    void putLine(const std::string& line)
    {
        m_output.bytes(firstColumns(line, m_size.columns - 1));
        m_output.bytes("\x1b[K\n");
    }

    CommandOutput& m_output;
    bool m_hasHeading = false;
    TerminalSize m_size;
    std::size_t m_lines = 0; // drawn
};

void watch(CommandOutput& output, const ValueArguments& arguments)
{
    using Clock = std::chrono::steady_clock;
    ModuleSession session(arguments.address);
    const Reader reader(session, arguments.signals);
    const auto interval = std::chrono::duration_cast<Clock::duration>(
        std::chrono::duration<double>(arguments.interval));
    Screen screen(output);
    auto next = Clock::now();
    for (std::uint64_t shown = 0; arguments.count == 0 || shown < arguments.count; ++shown) {
        while (Clock::now() < next && !isInterrupted()) {
            std::this_thread::sleep_for(
                std::min<Clock::duration>(next - Clock::now(), std::chrono::milliseconds(50)));
        }
        if (isInterrupted())
            return; // watching has no other end
        session.forgetWarning();
        const auto readings = reader.read();
        const std::string time = hostTimeText();
        if (output.isJson) {
            output.json(session.identity(), {{"time", time}, {"values", jsonOf(readings)}});
            output.finish();
        } else {
            screen.show(time, readings);
        }
        next = std::max(next + interval, Clock::now());
    }
}

} // namespace

void addValueCommands(CLI::App& app, Application& application)
{
    auto& list = addCommand(app, {.name = "signals",
                                  .group = kGroup,
                                  .description = "List what a module measures",
                                  .examples = "  zel signals 192.168.169.20 --enabled"});
    const auto toList = std::make_shared<ValueArguments>();
    addAddressArgument(list, toList->address);
    list.add_flag("--enabled", toList->isEnabledOnly, "Only the signals that are switched on");
    whenChosen(list, application, toList, signals);

    auto& once =
        addCommand(app, {.name = "read",
                         .group = kGroup,
                         .description = "Read the current value of signals",
                         .examples = "  zel read 192.168.169.20\n"
                                     "  zel read 192.168.169.20 AnalogIn_Connector0.Signal0"});
    const auto toRead = std::make_shared<ValueArguments>();
    addAddressArgument(once, toRead->address);
    once.add_option("SIGNAL", toRead->signals,
                    "References, names or parameter paths; without any, all that are switched on");
    whenChosen(once, application, toRead, read);

    auto& live = addCommand(app, {.name = "watch",
                                  .group = kGroup,
                                  .description = "Show current values, again and again",
                                  .examples = "  zel watch 192.168.169.20 Force --interval 0.2"});
    const auto toWatch = std::make_shared<ValueArguments>();
    addAddressArgument(live, toWatch->address);
    live.add_option("SIGNAL", toWatch->signals,
                    "References, names or parameter paths; without any, all that are switched on");
    live.add_option("--interval", toWatch->interval, "Time between two looks (default 0.5)")
        ->check(CLI::Validator(
            [](const std::string& text) {
                const double seconds = decimalNumber(text).value_or(0);
                return seconds >= 0.01 && seconds <= 3600
                           ? ""
                           : "'" + text + "' is no time from 0.01 to 3600 seconds";
            },
            ""))
        ->option_text("SECONDS");
    live.add_option("--count", toWatch->count, "End after so many; otherwise Ctrl-C ends it")
        ->check(CLI::Validator(
            [](const std::string& text) {
                return wholeNumber<std::uint64_t>(text).value_or(0) > 0
                           ? ""
                           : "'" + text + "' is no whole number above 0";
            },
            ""))
        ->option_text("N");
    whenChosen(live, application, toWatch, watch);
}

} // namespace zel::cli
