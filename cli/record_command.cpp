// zel record: measured values into a file.

#include <chrono>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <memory>
#include <thread>

#include <nlohmann/json.hpp>

#include "application.h"
#include "file_content.h"
#include "interrupt.h"
#include "measured_signal.h"
#include "module_session.h"
#include "number_text.h"
#include "progress_bar.h"
#include "recording.h"
#include "ZEL_VR_Framework.h"

namespace zel::cli {

namespace {

using Clock = std::chrono::steady_clock;

struct RecordArguments {
    std::string address;
    std::vector<std::string> signals;
    double rate = 0;
    double duration = 0;
    std::string file;
    bool mayReplace = false;
};

/// Where the rows go: a file, or the command's own output.
class Destination {
public:
    Destination(CommandOutput& output, const std::string& name, bool mayReplace)
        : m_output(output), m_name(name)
    {
        if (name.empty()) {
            return;
        }
        requireNewFile(name, mayReplace);
        m_file.open(hostPath(name), std::ios::binary | std::ios::trunc);
        if (!m_file) {
            throw CommandFailure({.problem = "could not create " + name,
                                  .advice = "does the folder exist, and may you write there?"});
        }
    }

    void write(std::string_view text)
    {
        if (m_name.empty()) {
            m_output.bytes(text);
            m_output.finish();
        } else {
            m_file.write(text.data(), static_cast<std::streamsize>(text.size()));
            failUnlessGood();
        }
    }

    void close()
    {
        if (m_file.is_open()) {
            m_file.close();
            failUnlessGood();
        }
    }

private:
    void failUnlessGood() const
    {
        if (!m_file) {
            throw CommandFailure({.problem = "could not write to " + m_name,
                                  .advice = "is the disk full? What was written before is in it"});
        }
    }

    CommandOutput& m_output;
    const std::string m_name;
    std::ofstream m_file;
};

/// The module records as long as this lives.
class Subscription {
public:
    Subscription(const ModuleSession& session, const std::vector<MeasuredSignal>& signals)
        : m_session(session)
    {
        constexpr std::uint64_t kLargestRecord = 65536;
        session.check(ZEL_XDAQ_OpenSubscription(session.uuid()), "open a subscription");
        std::uint16_t id = 0;
        for (const auto& signal : signals) {
            session.check(
                ZEL_XDAQ_AddSignal(session.uuid(), signal.reference.c_str(), ++id, kLargestRecord),
                "subscribe to " + signal.reference);
        }
        session.check(ZEL_XDAQ_FinishSubscription(session.uuid(), 0), "start the recording",
                      "'zel signals " + session.address() +
                          "' tells which signals are switched on");
    }
    ~Subscription() { ZEL_XDAQ_ClearSubscription(m_session.uuid()); }
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;

private:
    const ModuleSession& m_session;
};

std::vector<MeasuredSignal> signalsWithRate(const ModuleSession& session,
                                            const RecordArguments& arguments)
{
    constexpr std::uint32_t kView = 1;
    auto chosen = chooseSignals(listSignals(session), arguments.signals, session);
    if (arguments.rate <= 0) {
        return chosen;
    }
    for (const auto& signal : chosen) {
        if (signal.sampleRate <= 0) {
            continue; // time-stamped values come when they come
        }
        session.check(ZEL_XPAR_WriteStringPar(session.uuid(), kView, signal.path.c_str(),
                                              "SampleRate", shortNumber(arguments.rate).c_str()),
                      "set the sample rate of " + signal.reference + " to " +
                          shortNumber(arguments.rate) + " Hz",
                      "it takes only the rates that its parameter SampleRate has a choice for");
    }
    return chooseSignals(listSignals(session), arguments.signals, session);
}

std::vector<std::string> headingOf(const ModuleSession& session)
{
    char name[128];
    std::uint64_t length = 0;
    std::string module =
        "module: " + session.identity().at("uuid").get<std::string>() + " at " + session.address();
    constexpr std::uint32_t kView = 1;
    if (ZEL_XPAR_ReadPar(session.uuid(), kView, "System/Name", "", name, &length, sizeof name) >=
        ZEL_OK) {
        module += std::string(", name ") + name;
    }
    return {"recorded by zel", module};
}

/// Fetches blocks until what was wanted has come, or Ctrl-C, which is as good an end.
class Recorder {
public:
    Recorder(const ModuleSession& session, Recording& recording)
        : m_session(session), m_recording(recording), m_buffer(kBufferSize)
    {
    }

    void run(double seconds)
    {
        const auto start = Clock::now();
        while (!isInterrupted()) {
            const double elapsed = secondsSince(start);
            if (seconds > 0 && isOver(elapsed - seconds)) {
                break;
            }
            const double fill = fetch();
            draw(elapsed, seconds, fill);
            if (fill < kBusy) {
                std::this_thread::sleep_for(std::chrono::duration<double>(kPause));
            }
        }
        fetch(); // what was sampled since the last one
    }

private:
    static constexpr std::size_t kBufferSize = 4U << 20U;
    static constexpr double kBusy = 0.25;
    static constexpr double kPause = 0.02;

    static double secondsSince(Clock::time_point start)
    {
        return std::chrono::duration<double>(Clock::now() - start).count();
    }

    /// Values come some time after they were measured, and not at all from a signal that rests.
    bool isOver(double secondsBeyond) const
    {
        constexpr double kLongestDelay = 1;
        return secondsBeyond >= (m_recording.isComplete() ? 0 : kLongestDelay);
    }

    /// How full the buffer came back, 0 to 1.
    double fetch()
    {
        std::uint64_t received = 0;
        m_session.judge(
            ZEL_XDAQ_GetMeasValBlock(m_session.uuid(), m_buffer.data(), &received, m_buffer.size()),
            "fetch measured values", "what was recorded before is in the file", Answer::data);
        const double fill = static_cast<double>(received) / kBufferSize;
        m_recording.take(m_buffer.data(), received, fill < kBusy);
        return fill;
    }

    void draw(double elapsed, double seconds, double fill)
    {
        constexpr double kRedraw = 0.2;
        if (elapsed - m_drawn < kRedraw) {
            return;
        }
        const auto rate =
            static_cast<double>(m_recording.samples() - m_drawnSamples) / (elapsed - m_drawn);
        m_drawn = elapsed;
        m_drawnSamples = m_recording.samples();
        char text[128];
        std::snprintf(text, sizeof text, "%.1f s, %.0f samples/s, buffer %.0f %% full, %llu lost",
                      elapsed, rate, fill * 100,
                      static_cast<unsigned long long>(m_recording.lost()));
        m_bar.draw(seconds > 0 ? std::min(elapsed / seconds, 1.0) : 0, text);
    }

    const ModuleSession& m_session;
    Recording& m_recording;
    std::vector<unsigned char> m_buffer;
    ProgressBar m_bar;
    double m_drawn = 0;
    std::uint64_t m_drawnSamples = 0;
};

void record(CommandOutput& output, const RecordArguments& arguments)
{
    if (output.isJson && arguments.file.empty()) {
        throw CommandFailure({.problem = "--json needs --out FILE",
                              .advice = "standard output cannot hold the recording and the "
                                        "result at once"});
    }
    const ModuleSession session(arguments.address);
    const auto signals = signalsWithRate(session, arguments);
    // Before the file is made: what cannot begin leaves none.
    auto subscription = std::make_unique<Subscription>(session, signals);
    Destination destination(output, arguments.file, arguments.mayReplace);
    Recording recording(
        signals, headingOf(session), [&](std::string_view text) { destination.write(text); },
        [](const std::string& note) { std::fprintf(stderr, "\nzel: %s\n", note.c_str()); });
    if (arguments.duration > 0) {
        recording.limit(static_cast<std::uint64_t>(std::llround(arguments.duration * 1e9)));
    }
    try {
        Recorder(session, recording).run(arguments.duration);
    } catch (...) {
        // Whatever ended it: what has come is kept.
        recording.finish();
        destination.close();
        throw;
    }
    subscription.reset();
    recording.finish();
    destination.close();
    if (arguments.file.empty()) {
        return;
    }
    if (output.isJson) {
        output.json(session.identity(), {{"file", arguments.file},
                                         {"rows", recording.rows()},
                                         {"samples", recording.samples()},
                                         {"lost", recording.lost()},
                                         {"gaps", recording.gaps()}});
    } else {
        output.line("recorded " + std::to_string(recording.samples()) + " samples in " +
                    std::to_string(recording.rows()) + " rows to " + arguments.file +
                    (recording.gaps() > 0
                         ? ", with " + std::to_string(recording.gaps()) +
                               " gaps: " + std::to_string(recording.lost()) + " samples lost"
                         : ", without a gap"));
    }
}

/// What is wrong with a rate or a time; "" for nothing.
std::string refuseUnlessAboveZero(const std::string& text)
{
    constexpr double kLargest = 1e9; // more than 30 years, or samples in a nanosecond
    const auto number = decimalNumber(text);
    return number && *number > 0 && *number <= kLargest
               ? ""
               : "'" + text + "' is no number above 0 and up to 1000000000";
}

} // namespace

void addRecordCommand(CLI::App& app, Application& application)
{
    auto& command = addCommand(
        app, {.name = "record",
              .group = "Measured values",
              .description = "Record signals into a CSV file, until Ctrl-C",
              .examples = "  zel record 192.168.169.20 Force Torque --duration 10 --out run1.csv\n"
                          "  zel record 192.168.169.20 AnalogIn_Connector0.Signal0 --rate 1200"});
    const auto arguments = std::make_shared<RecordArguments>();
    const CLI::Validator isAboveZero(refuseUnlessAboveZero, "");
    addAddressArgument(command, arguments->address);
    command.add_option("SIGNAL", arguments->signals, "References or names of signals")->required();
    command
        .add_option("--rate", arguments->rate,
                    "Sample rate; changes the parameter of the signals that are sampled evenly")
        ->check(isAboveZero)
        ->option_text("HZ");
    command.add_option("--duration", arguments->duration, "End after this time")
        ->check(isAboveZero)
        ->option_text("SECONDS");
    command.add_option("--out", arguments->file, "File for the values; otherwise standard output")
        ->option_text("FILE");
    command.add_flag("--force", arguments->mayReplace, "Replace the file if it is there");
    whenChosen(command, application, arguments, record);
}

} // namespace zel::cli
