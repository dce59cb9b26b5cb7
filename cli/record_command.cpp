// zel record: measured values of one module or many into files or a pipe.

#include "application.h"
#include "command_failure.h"
#include "console.h"
#include "file_content.h"
#include "interrupt.h"
#include "number_text.h"
#include "printable.h"
#include "progress_bar.h"
#include "record_request.h"
#include "recording_sinks.h"
#include "run_file.h"
#include "ZEL_VR_Framework.hpp"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <mutex>
#include <sstream>
#include <thread>
#include <vector>

#include <nlohmann/json.hpp>

namespace zel::cli {

namespace {

using acquisition::Recorder;
using Clock = std::chrono::steady_clock;

struct RecordArguments {
    std::vector<std::string> words;
    std::string runFile;
    double rate = 0;
    std::string duration;
    std::string file;
    std::string format;
    bool mayReplace = false;
    bool hasFileForEachRate = false;
    unsigned deflate = 0;
    std::string sync;
    std::string startAt;
    std::string split;
    std::string memory;
    std::string trigger;
    std::string triggerModule;
    std::string before;
    std::uint64_t repeats = 1;
    std::string reconnect = "on";
    std::string align = "module";
};

template <class Value>
Value required(const std::optional<Value>& value, const std::string& option,
               const std::string& text, const std::string& such)
{
    if (!value)
        throw CommandFailure({.problem = option + ": '" + text + "' is " + such});
    return *value;
}

/// "Force rising 5": a signal, whose name may hold blanks, and a condition.
void readTrigger(const std::string& text, RecordRequest& request)
{
    for (auto blank = text.find(' '); blank != std::string::npos; blank = text.find(' ', blank + 1))
        try {
            request.plan.trigger = acquisition::TriggerCondition::parse(text.substr(blank + 1));
            request.triggerSignal = text.substr(0, blank);
            return;
        } catch (const std::invalid_argument&) {
            // The name of the signal goes on.
        }
    throw CommandFailure(
        {.problem = "--trigger: '" + text + "' is no signal with a condition",
         .advice = "such as 'Force rising 5', 'Force > 5', 'Force outside -1 1', or a trigger of "
                   "the library: 'uuid=0x1234 connector=1 status=7 value=1'"});
}

RecordRequest requestOf(const RecordArguments& arguments)
{
    const std::string suchTime = "no time above 0 such as 90s, 500ms, 15min or 1h";
    RecordRequest request;
    if (!arguments.runFile.empty()) {
        if (!arguments.words.empty())
            throw CommandFailure({.problem = "the modules stand in " + arguments.runFile + "; '" +
                                             arguments.words.front() +
                                             "' cannot be named besides"});
        request = readRunFile(arguments.runFile);
    } else {
        if (arguments.words.empty())
            throw CommandFailure({.problem = "no module is named",
                                  .advice = "'zel record ADDRESS SIGNAL...' or --from FILE"});
        request.modules = modulesOf(arguments.words);
    }
    auto& plan = request.plan;
    if (arguments.rate > 0)
        for (auto& module : request.modules)
            module.rate = arguments.rate;
    if (!arguments.duration.empty())
        plan.duration =
            required(timeSpan(arguments.duration), "--duration", arguments.duration, suchTime);
    if (!arguments.file.empty())
        request.out = arguments.file == "-" ? "" : arguments.file;
    if (!arguments.format.empty())
        request.format = formatNamed(arguments.format);
    request.mayReplace = request.mayReplace || arguments.mayReplace;
    request.hasFileForEachRate = request.hasFileForEachRate || arguments.hasFileForEachRate;
    request.deflate = arguments.deflate != 0 ? arguments.deflate : request.deflate;
    if (!arguments.sync.empty())
        request.sync = static_cast<double>(
                           required(timeSpan(arguments.sync), "--sync", arguments.sync, suchTime)) /
                       1e9;
    if (!arguments.startAt.empty())
        plan.startAt = required(pointInTime(arguments.startAt), "--start-at", arguments.startAt,
                                "no time such as 18:00 or 2026-11-21T18:00:00Z");
    if (!arguments.split.empty()) {
        plan.splitTime = timeSpan(arguments.split).value_or(0);
        plan.splitBytes = plan.splitTime != 0
                              ? 0
                              : required(dataSize(arguments.split), "--split", arguments.split,
                                         "no time such as 1h and no size such as 1GB");
    }
    if (!arguments.memory.empty())
        plan.memory = static_cast<std::size_t>(required(
            dataSize(arguments.memory), "--memory", arguments.memory, "no size such as 256MiB"));
    if (arguments.trigger.find("uuid=") != std::string::npos) {
        request.libraryTrigger = arguments.trigger;
        plan.isTriggeredByCall = true;
    } else if (!arguments.trigger.empty()) {
        readTrigger(arguments.trigger, request);
    }
    if (!arguments.triggerModule.empty())
        request.triggerModule = arguments.triggerModule;
    if (!arguments.before.empty())
        plan.preTrigger =
            required(timeSpan(arguments.before), "--before", arguments.before, suchTime);
    if (arguments.repeats != 1)
        plan.repeats = arguments.repeats;
    request.mayReconnect = request.mayReconnect && arguments.reconnect == "on";
    request.isOnHostTime = request.isOnHostTime || arguments.align == "host";
    return request;
}

bool isTriggered(const RecordRequest& request)
{
    return request.plan.trigger || request.plan.isTriggeredByCall;
}

/// What makes no sense together is said before anything is asked.
void check(const CommandOutput& output, const RecordRequest& request)
{
    const auto& plan = request.plan;
    const bool isSplit = plan.splitTime != 0 || plan.splitBytes != 0;
    const bool hasManyParts = isSplit || (isTriggered(request) && plan.repeats != 1);
    if (output.isJson && request.out.empty())
        throw CommandFailure({.problem = "--json needs --out FILE",
                              .advice = "standard output cannot hold the recording and the "
                                        "result at once"});
    if (request.out.empty() && hasManyParts)
        throw CommandFailure({.problem = "a recording of several files needs --out FILE"});
    if (request.out.empty() && formatOf(request) == RecordingFormat::hdf5)
        throw CommandFailure({.problem = "HDF5 is no stream: it needs --out FILE"});
    if (isSplit && isTriggered(request))
        throw CommandFailure({.problem = "--split and --trigger exclude each other",
                              .advice = "each trigger begins a file of its own, as long as "
                                        "--duration"});
    if (plan.preTrigger != 0 && !isTriggered(request))
        throw CommandFailure({.problem = "--before needs --trigger"});
    if (isTriggered(request) && plan.repeats != 1 && plan.duration == 0)
        throw CommandFailure({.problem = "--repeat needs --duration: how long each recording is"});
    if (!request.out.empty() && !hasManyParts)
        requireNewFile(request.out, request.mayReplace);
}

/// Position of the signal that triggers.
std::size_t triggerSignalOf(const acquisition::Setup& setup, const RecordRequest& request)
{
    std::optional<std::size_t> found;
    for (std::size_t i = 0; i < setup.signals.size(); ++i) {
        const auto& signal = setup.signals[i];
        const auto& module = setup.modules[signal.module];
        const bool isItsModule =
            request.triggerModule.empty() || request.triggerModule == module.label ||
            request.triggerModule == module.address || request.triggerModule == module.name;
        const std::string& wanted = request.triggerSignal;
        if (isItsModule && !found &&
            (signal.reference == wanted || signal.name == wanted || signal.column == wanted))
            found = i;
    }
    if (!found)
        throw CommandFailure({.problem = "the trigger's signal '" + request.triggerSignal +
                                         "' is not among those that are recorded",
                              .advice = "name it among the signals, too"});
    using acquisition::ValueType;
    const auto type = setup.signals[*found].type;
    const auto& condition = *request.plan.trigger;
    using Kind = acquisition::TriggerCondition::Kind;
    const bool goesDown = condition.kind == Kind::below || condition.kind == Kind::falling;
    if ((type == ValueType::uint32 || type == ValueType::uint64) && goesDown && condition.low <= 0)
        throw CommandFailure({.problem = "the trigger '" + condition.text() +
                                         "' cannot come: " + setup.signals[*found].reference +
                                         " has no values below 0"});
    return *found;
}

/// Notices of any thread, told by one.
class Notices {
public:
    void add(const std::string& module, const std::string& what)
    {
        const std::lock_guard lock{m_mutex};
        constexpr std::size_t kMost = 100;
        if (m_waiting.size() < kMost)
            m_waiting.push_back("zel: " + (module.empty() ? "" : module + ": ") + what);
    }
    void tell(ProgressBar& bar)
    {
        std::vector<std::string> waiting;
        {
            const std::lock_guard lock{m_mutex};
            waiting.swap(m_waiting);
        }
        for (const std::string& notice : waiting)
            bar.tell(printable(notice));
    }

private:
    std::mutex m_mutex;
    std::vector<std::string> m_waiting; // under m_mutex
};

/// Waits for a trigger of the library as long as it lives.
class LibraryTrigger {
public:
    LibraryTrigger(const std::string& text, Recorder& recorder) : m_text(text)
    {
        if (const std::int32_t code = ZEL_XDAQ_ActivateTrigger(text.c_str()); code != ZEL_OK)
            throw CommandFailure({.problem = "--trigger: '" + text + "' is no trigger",
                                  .code = code,
                                  .advice = "such as 'uuid=0x1234 connector=1 status=7 value=1'"});
        m_thread = std::jthread{[this, &recorder](const std::stop_token& stop) {
            constexpr std::uint32_t kWaitMs = 200;
            while (!stop.stop_requested()) {
                ZEL_TriggerEvent event{};
                const std::int32_t code = ZEL_XDAQ_WaitForTrigger(kWaitMs, m_text.c_str(), &event);
                if (code == ZEL_OK)
                    recorder.trigger();
                if (code != ZEL_UTIL_WAIT_TIMEOUT)
                    std::this_thread::sleep_for(std::chrono::milliseconds{kWaitMs});
            }
        }};
    }
    ~LibraryTrigger() { ZEL_XDAQ_ClearTrigger(m_text.c_str()); }
    LibraryTrigger(const LibraryTrigger&) = delete;
    LibraryTrigger& operator=(const LibraryTrigger&) = delete;

private:
    const std::string m_text;
    std::jthread m_thread;
};

/// One run of the recorder as a person sees it.
class Run {
public:
    Run(CommandOutput& output, const RecordRequest& request, acquisition::Preparation prepared)
        : m_request(request),
          m_setup(prepared.setup),
          m_sinks(output, request, m_setup),
          m_isDrawn(!(request.out.empty() && output.isOnTerminal())),
          m_recorder(
              m_setup, request.plan,
              [this](std::size_t number, std::uint64_t begin) {
                  return m_sinks.make(number, begin);
              },
              [this](const std::string& module, const std::string& what) {
                  m_notices.add(m_setup.modules.size() > 1 ? module : "", what);
              })
    {
        acquisition::Source::Options options;
        options.mayReconnect = request.mayReconnect;
        for (std::size_t i = 0; i < prepared.modules.size(); ++i)
            m_recorder.add(std::move(prepared.modules[i]), prepared.targets[i], options);
    }

    void run()
    {
        m_recorder.begin();
        std::unique_ptr<LibraryTrigger> trigger;
        if (!m_request.libraryTrigger.empty())
            trigger = std::make_unique<LibraryTrigger>(m_request.libraryTrigger, m_recorder);
        constexpr std::chrono::milliseconds kPause{20};
        while (!isInterrupted() && m_recorder.poll() && !areAllGone()) {
            tell();
            draw();
            std::this_thread::sleep_for(kPause);
        }
    }

    /// `cause` is empty for an end as it should be.
    void finish(const std::string& cause)
    {
        const bool isGone = areAllGone();
        if (isGone)
            m_gone = m_recorder.sources().front();
        const std::string problems = m_recorder.finish(isGone ? m_gone.problem : cause);
        m_notices.tell(m_bar);
        m_status = m_recorder.status();
        tellGaps();
        m_bar.clear();
        if (m_status.isReaderGone)
            throw ReaderGone{};
        m_problem = isGone ? m_gone.problem : problems;
    }

    /// Throws CommandFailure for a recording that is empty, broken off or has gaps.
    void requireWhole(const std::string& cause) const;
    std::string summary() const;
    nlohmann::json result() const;

private:
    bool areAllGone() const
    {
        const auto sources = m_recorder.sources();
        return std::ranges::all_of(sources, [](const auto& source) {
            return source.link == acquisition::Source::Link::ended;
        });
    }

    void tell();
    void tellGaps();
    void draw();
    std::string diskText();

    const RecordRequest& m_request;
    const acquisition::Setup m_setup;
    RecordingSinks m_sinks;
    ProgressBar m_bar;
    Notices m_notices;
    const bool m_isDrawn;
    Recorder::Status m_status;
    std::string m_problem;
    acquisition::Source::State m_gone; // where the links are lost for good

    Clock::time_point m_drawnAt = Clock::now();
    Clock::time_point m_gapsToldAt;
    Recorder::Status m_drawn;
    Recorder::Status m_told;
    bool m_hasToldDisk = false;

    Recorder m_recorder; // last: its threads use the others
};

void Run::tell()
{
    m_notices.tell(m_bar);
    m_status = m_recorder.status();
    constexpr std::chrono::seconds kPause{1};
    if (const auto now = Clock::now(); now - m_gapsToldAt >= kPause) {
        m_gapsToldAt = now;
        tellGaps();
    }
    if (m_status.isDiskFull != m_hasToldDisk) {
        m_hasToldDisk = m_status.isDiskFull;
        m_bar.tell(m_hasToldDisk ? "zel: the disk is full; what comes waits in memory"
                                 : "zel: there is room on the disk again");
    }
}

void Run::tellGaps()
{
    const std::uint64_t gaps = m_status.gaps - std::min(m_status.gaps, m_told.gaps);
    if (gaps > 0)
        m_bar.tell(
            "zel: " + counted(gaps, "gap") + ", " +
            counted(m_status.missing - std::min(m_status.missing, m_told.missing), "sample") +
            " lost");
    m_told = m_status;
}

/// "12 GiB free, for 3 h"
std::string Run::diskText()
{
    if (m_request.out.empty())
        return {};
    std::error_code error;
    const auto folder = hostPath(m_request.out).parent_path();
    const auto space = std::filesystem::space(folder.empty() ? "." : folder, error);
    if (error)
        return {};
    std::string text = ", " + byteCount(space.available) + " free";
    const double written = static_cast<double>(m_status.bytes);
    const double seconds = static_cast<double>(m_status.recorded) / 1e9;
    if (written > 0 && seconds > 1)
        text += " for " + duration(static_cast<double>(space.available) / written * seconds);
    return text;
}

void Run::draw()
{
    constexpr std::chrono::milliseconds kRedraw{250};
    const auto now = Clock::now();
    const std::chrono::duration<double> since = now - m_drawnAt;
    if (!m_isDrawn || since < kRedraw)
        return;
    if (m_status.isWaitingForTrigger && m_status.samples == 0)
        return m_bar.draw("waiting for the trigger");
    const auto inASecond = static_cast<double>(m_status.samples - m_drawn.samples) / since.count();
    const double seconds = static_cast<double>(m_status.recorded) / 1e9;
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text.setf(std::ios::fixed);
    text.precision(1);
    text << seconds << " s, ";
    if (const auto rows = m_sinks.rows())
        text << counted(*rows, "row") << ", ";
    text << byteCount(m_status.bytes) << ", " << std::llround(inASecond) << " samples/s, lag "
         << static_cast<double>(m_status.lag) / 1e9 << " s, " << counted(m_status.gaps, "gap");
    if (m_status.modulesDown > 0)
        text << ", " << counted(m_status.modulesDown, "module") << " down";
    text << diskText();
    m_drawnAt = now;
    m_drawn = m_status;
    const double whole = static_cast<double>(m_request.plan.duration) / 1e9;
    if (whole > 0 && !isTriggered(m_request))
        m_bar.draw(std::min(seconds / whole, 1.0), text.str());
    else
        m_bar.draw(text.str());
}

std::string Run::summary() const
{
    std::string text = "recorded " + counted(m_status.samples, "sample");
    if (const auto rows = m_sinks.rows())
        text += " in " + counted(*rows, "row");
    text += " to " + m_sinks.name();
    if (m_status.parts > 1)
        text += " and " + counted(m_status.parts - 1, "other file");
    if (const std::uint64_t late = m_sinks.late(); late > 0)
        text += ", those of " + counted(late, "late signal") + " out of order";
    return text;
}

void Run::requireWhole(const std::string& cause) const
{
    FailureReport report;
    const std::string& problem = !cause.empty() ? cause : m_problem;
    if (!problem.empty()) {
        report.problem = problem;
        const std::string advice = m_gone.code != 0 ? adviceFor(m_gone.code) : "";
        if (m_status.parts > 0 && !m_sinks.names().empty())
            report.advice = summary() + (advice.empty() ? "" : "; ");
        report.advice += advice;
    } else if (m_status.samples == 0 && isTriggered(m_request)) {
        report.problem = "nothing was recorded: the trigger did not come";
    } else if (m_status.samples == 0) {
        report.problem = "nothing was recorded: no values came";
        report.advice =
            "'zel read " + m_setup.modules.front().address + "' shows what the signals have now";
    } else if (m_status.gaps > 0) {
        report.problem = summary() + ", but with " + counted(m_status.gaps, "gap") + ": " +
                         counted(m_status.missing, "sample") + " lost";
        report.advice = "the recording tells where and why";
    } else {
        return;
    }
    report.result = std::make_shared<nlohmann::json>(result());
    throw CommandFailure(report);
}

nlohmann::json Run::result() const
{
    auto modules = nlohmann::json::array();
    for (const auto& module : m_setup.modules)
        modules.push_back({{"address", module.address},
                           {"uuid", hexadecimal(module.uuid)},
                           {"label", module.label}});
    nlohmann::json result = {{"file", m_sinks.name()},   {"files", m_sinks.names()},
                             {"modules", modules},       {"samples", m_status.samples},
                             {"lost", m_status.missing}, {"gaps", m_status.gaps},
                             {"bytes", m_status.bytes}};
    if (m_setup.modules.size() == 1)
        result.update({{"address", m_setup.modules[0].address},
                       {"uuid", hexadecimal(m_setup.modules[0].uuid)}});
    if (const auto rows = m_sinks.rows())
        result.update({{"rows", *rows}, {"late", m_sinks.late()}});
    return result;
}

/// What the library or a module refused, as the commands tell it.
CommandFailure failureOf(const Error& error)
{
    return CommandFailure({.problem = "could not " + error.tried() +
                                      (error.address().empty() ? "" : " on " + error.address()),
                           .code = error.code(),
                           .codeText = error.codeText(),
                           .moduleText = error.moduleText(),
                           .advice = adviceFor(error.code())});
}

void record(CommandOutput& output, const RecordArguments& arguments)
try {
    RecordRequest request = requestOf(arguments);
    check(output, request);
    const Library library;
    auto prepared = acquisition::prepare(request.modules);
    stopIfInterrupted();
    prepared.setup.isOnHostTime = request.isOnHostTime;
    if (request.plan.trigger)
        request.plan.triggerSignal = triggerSignalOf(prepared.setup, request);
    Run run(output, request, std::move(prepared));
    std::string cause;
    try {
        run.run();
    } catch (const acquisition::SinkFailure& failure) {
        cause = failure.what();
    }
    run.finish(cause);
    run.requireWhole(cause);
    if (output.isJson)
        output.json(run.result());
    else if (!request.out.empty())
        output.line(run.summary() + ", without a gap");
} catch (const acquisition::RequestError& error) {
    throw CommandFailure({.problem = error.what(), .advice = error.advice()});
} catch (const acquisition::SinkFailure& failure) {
    throw CommandFailure({.problem = failure.what()});
} catch (const Error& error) {
    throw failureOf(error);
}

/// What is wrong with a rate; "" for nothing.
std::string refuseUnlessAboveZero(const std::string& text)
{
    constexpr double kLargest = 1e9; // samples in a nanosecond
    const auto number = decimalNumber(text);
    return number && *number > 0 && *number <= kLargest
               ? ""
               : "'" + text + "' is no number above 0 and up to 1000000000";
}

} // namespace

void addRecordCommand(CLI::App& app, Application& application)
{
    auto& command = addCommand(
        app,
        {.name = "record",
         .group = "Measured values",
         .description =
             "Record signals of one module or many, until Ctrl-C\n\n"
             "Each address begins a module, and the signals behind it are recorded of it: by\n"
             "reference or name, by a pattern such as 'AnalogIn_*', or 'all'. A module's own\n"
             "name is marked by an @. A link that is lost is dialled again; what is missing is\n"
             "a gap, which the recording tells.",
         .examples = "  zel record 192.168.169.20 Force Torque --duration 10 --out run1.csv\n"
                     "  zel record 192.168.169.20 'AnalogIn_*' 192.168.169.21 all --out run.h5\n"
                     "  zel record 192.168.169.20 Force --trigger 'Force rising 5' --before 1 \\\n"
                     "      --duration 3 --repeat 0 --out crash.h5\n"
                     "  zel record 192.168.169.20 Force --format jsonl | my-program\n"
                     "  zel record --from run.toml"});
    const auto arguments = std::make_shared<RecordArguments>();
    const auto text = [&](const std::string& name, std::string& value, const std::string& help,
                          const std::string& unit) {
        return command.add_option(name, value, help)->option_text(unit);
    };
    command.add_option("ADDRESS SIGNAL...", arguments->words, "Modules, each with its signals");
    text("--from", arguments->runFile, "Read what to record from a TOML file", "FILE");
    command
        .add_option("--rate", arguments->rate,
                    "Sample rate; changes the parameter of the signals that are sampled evenly")
        ->check(CLI::Validator(refuseUnlessAboveZero, ""))
        ->option_text("HZ");
    text("--duration,--stop-after", arguments->duration, "End after this time: 10, 500ms, 2h",
         "TIME");
    text("--start-at", arguments->startAt, "Begin at 18:00, or at 2026-11-21T18:00:00Z", "TIME");
    text("--out", arguments->file, "File for the values; otherwise, and for '-', standard output",
         "FILE");
    text("--format", arguments->format,
         "csv, h5, jsonl or f32; otherwise as the file's name ends (.h5), else csv", "FORMAT")
        ->check(CLI::IsMember({"csv", "h5", "hdf5", "jsonl", "f32"}));
    command.add_flag("--force", arguments->mayReplace, "Replace the file if it is there");
    text("--split", arguments->split, "Begin a new file after 1h, or after 1GB", "TIME|SIZE");
    command.add_flag("--file-for-each-rate", arguments->hasFileForEachRate,
                     "CSV: signals of different rates in files of their own");
    command.add_option("--deflate", arguments->deflate, "HDF5: compress, 1 (fast) to 9")
        ->check(CLI::Range(0, 9))
        ->option_text("LEVEL");
    text("--sync", arguments->sync,
         "HDF5: bring what is written to the disk itself that often, in case the power fails",
         "TIME");
    text("--memory", arguments->memory,
         "What may wait for a slow disk, and for a trigger; 256MiB otherwise", "SIZE");
    text("--trigger", arguments->trigger,
         "Begin when a signal meets a condition: 'Force rising 5', 'Force > 5',\n"
         "'Force < 5', 'Force falling 5', 'Force inside 1 2', 'Force outside 1 2';\n"
         "or with a trigger of the library: 'uuid=0x1234 status=7'",
         "TEXT");
    text("--trigger-module", arguments->triggerModule,
         "The module of that signal, where several have one of this name", "MODULE");
    text("--before", arguments->before, "Record also so much before the trigger", "TIME");
    command
        .add_option("--repeat", arguments->repeats,
                    "That many recordings, one for each trigger; 0 without end")
        ->option_text("N");
    text("--reconnect", arguments->reconnect,
         "off: the recording ends when the link to a module is lost", "on|off")
        ->check(CLI::IsMember({"on", "off"}));
    text("--align", arguments->align,
         "host: put the samples' times on this host's clock; module: leave them", "host|module")
        ->check(CLI::IsMember({"host", "module"}));
    whenChosen(command, application, arguments, record);
}

} // namespace zel::cli
