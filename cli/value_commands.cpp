// zel signals, read and watch: what a module measures, and what it measures now.

#include <algorithm>
#include <chrono>
#include <memory>
#include <thread>

#include <nlohmann/json.hpp>

#include "application.h"
#include "interrupt.h"
#include "measured_signal.h"
#include "module_session.h"
#include "ZEL_VR_Framework.h"

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
        if (arguments.isEnabledOnly && !signal.isEnabled) {
            continue;
        }
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
    if (output.isJson) {
        output.json(session.identity(), {{"signals", entries}});
    } else {
        output.table(table, "the module has no signals");
    }
}

std::vector<Reading> readAll(const ModuleSession& session, const std::vector<MeasuredSignal>& known)
{
    std::vector<ZEL_MeasuredValue> values(known.size() + 16);
    std::uint64_t count = 0;
    std::int32_t code =
        ZEL_XDAQ_GetAllMeasVals(session.uuid(), 1, values.data(), &count, values.size());
    if (code == ZEL_SRV_BUFFER_TOO_SMALL) {
        values.resize(count);
        code = ZEL_XDAQ_GetAllMeasVals(session.uuid(), 1, values.data(), &count, values.size());
    }
    session.checkReading(code, "read the values");
    std::vector<Reading> readings;
    for (std::size_t i = 0; i < count; ++i) {
        Reading reading;
        reading.signal.reference = values[i].id;
        for (const MeasuredSignal& signal : known) {
            if (signal.reference == reading.signal.reference) {
                reading.signal = signal;
            }
        }
        reading.value = values[i].value;
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
        for (const auto& text : texts) {
            if (text.find('/') != std::string::npos) {
                m_chosen.emplace_back().reference = text;
            } else {
                m_chosen.push_back(chooseSignals(m_all, {text}, session).front());
            }
        }
    }

    std::vector<Reading> read() const
    {
        if (m_isAll) {
            return readAll(m_session, m_all);
        }
        std::vector<Reading> readings;
        for (const MeasuredSignal& signal : m_chosen) {
            Reading reading{signal};
            // The path of the list is right for every signal that has one.
            m_session.checkReading(
                ZEL_XDAQ_GetMeasVal(m_session.uuid(), signal.reference.c_str(), &reading.value),
                "read " + signal.reference,
                "'zel signals " + m_session.address() + "' lists the signals");
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
    return isNoValue(reading.value) ? "no value" : reading.signal.unit;
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
        output.value(isNoValue(reading.value)
                         ? "no value"
                         : valueText(reading.value) + (reading.signal.unit.empty() ? "" : " ") +
                               reading.signal.unit);
    } else {
        output.table(tableOf(readings), "no signal is switched on");
    }
}

/// Draws the table over the one before, on a terminal.
class Screen {
public:
    void show(CommandOutput& output, const TextTable& table)
    {
        if (output.isOnTerminal() && m_lines > 0) {
            output.bytes("\x1b[" + std::to_string(m_lines) + "A\x1b[J");
        }
        output.table(table, "no signal is switched on");
        output.finish();
        const std::string text = table.text();
        m_lines = table.isEmpty()
                      ? 1
                      : static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
    }

private:
    std::size_t m_lines = 0;
};

void watch(CommandOutput& output, const ValueArguments& arguments)
{
    using Clock = std::chrono::steady_clock;
    ModuleSession session(arguments.address);
    const Reader reader(session, arguments.signals);
    const auto interval = std::chrono::duration_cast<Clock::duration>(
        std::chrono::duration<double>(arguments.interval));
    Screen screen;
    auto next = Clock::now();
    for (std::uint64_t shown = 0; arguments.count == 0 || shown < arguments.count; ++shown) {
        while (Clock::now() < next && !isInterrupted()) {
            std::this_thread::sleep_for(
                std::min<Clock::duration>(next - Clock::now(), std::chrono::milliseconds(50)));
        }
        if (isInterrupted()) {
            return; // watching has no other end
        }
        session.forgetWarning();
        const auto readings = reader.read();
        if (output.isJson) {
            output.json(session.identity(), {{"values", jsonOf(readings)}});
            output.finish();
        } else {
            screen.show(output, tableOf(readings));
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
        ->check(CLI::Range(0.01, 3600.0))
        ->option_text("SECONDS");
    live.add_option("--count", toWatch->count, "End after so many; otherwise Ctrl-C ends it")
        ->option_text("N");
    whenChosen(live, application, toWatch, watch);
}

} // namespace zel::cli
