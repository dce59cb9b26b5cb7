// zel record: measured values into a file.

#include "application.h"
#include "interrupt.h"
#include "measured_signal.h"
#include "module_session.h"
#include "number_text.h"
#include "progress_bar.h"
#include "recording.h"
#include "recording_file.h"
#include "ZEL_VR_Framework.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <memory>
#include <thread>

#include <nlohmann/json.hpp>

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

std::string countOf(std::uint64_t number, const std::string& what)
{
    return std::to_string(number) + " " + what + (number == 1 ? "" : "s");
}

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
    if (arguments.rate <= 0)
        return chosen;
    for (const auto& signal : chosen) {
        if (signal.sampleRate <= 0)
            continue; // time-stamped values come when they come
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
        ZEL_OK)
        module += std::string(", name ") + name;
    return {"recorded by zel", module};
}

/// Gaps as they come, for people: one line a second at most.
class GapReport {
public:
    explicit GapReport(ProgressBar& bar) : m_bar(bar) {}

    void note(const std::string& gap, std::uint64_t lost)
    {
        ++m_gaps;
        m_lost += lost;
        m_last = gap;
    }

    void tellNowAndThen()
    {
        constexpr std::chrono::seconds kPause{1};
        const auto now = Clock::now();
        if (m_gaps > 0 && now - m_toldAt >= kPause) {
            m_toldAt = now;
            tell();
        }
    }

    void tell()
    {
        if (m_gaps > 0) {
            m_bar.tell("zel: " + (m_gaps == 1 ? m_last
                                              : std::to_string(m_gaps) + " gaps, " +
                                                    countOf(m_lost, "sample") +
                                                    " lost; the last: " + m_last));
        }
        m_gaps = 0;
        m_lost = 0;
    }

private:
    ProgressBar& m_bar;
    Clock::time_point m_toldAt;
    std::uint64_t m_gaps = 0; // not told yet
    std::uint64_t m_lost = 0;
    std::string m_last;
};

/// Fetches blocks until what was wanted has come, or until Ctrl-C, which is as good an end.
class Recorder {
public:
    Recorder(const ModuleSession& session, const std::vector<MeasuredSignal>& signals,
             RecordingFile& file, bool isDrawn)
        : m_session(session),
          m_file(file),
          m_recording(
              signals, headingOf(session),
              [this](auto lines, auto rows) { m_file.write(lines, rows); },
              [this](const auto& gap, auto lost) { m_gaps.note(gap, lost); }),
          m_buffer(kBufferSize),
          m_isDrawn(isDrawn)
    {
    }

    /// Seconds, or 0 for no end but Ctrl-C.
    void run(double seconds)
    {
        if (seconds > 0)
            m_recording.limit(static_cast<std::uint64_t>(std::llround(seconds * 1e9)));
        bool isStopping = false;
        for (bool hasMore = true; !m_recording.isOver(hasMore);) {
            if (isInterrupted() && !isStopping) {
                isStopping = true;
                m_recording.stopNow();
            }
            hasMore = fetch();
            m_gaps.tellNowAndThen();
            draw(seconds);
            if (!hasMore)
                std::this_thread::sleep_for(kPause);
        }
        fetch(); // what has no even times may have come until the very end
    }

    void finish()
    {
        m_recording.finish();
        m_file.close();
        m_gaps.tell();
        m_bar.clear();
    }

    /// Keeps what there is, and gives the cause with what that is.
    CommandFailure breakOff(const CommandFailure& cause);

    /// Throws CommandFailure for a recording that is empty or has gaps.
    void requireWhole() const;

    std::string summary() const
    {
        return "recorded " + countOf(m_recording.samples(), "sample") + " in " +
               countOf(m_file.rows(), "row") + " to " + m_file.name() +
               (m_recording.late() > 0
                    ? ", those of " + countOf(m_recording.late(), "late signal") + " out of order"
                    : "");
    }

    nlohmann::json result() const;

private:
    static constexpr std::size_t kBufferSize = 4U << 20U;
    static constexpr std::chrono::milliseconds kPause{20};

    bool fetch();
    void draw(double seconds);

    const ModuleSession& m_session;
    RecordingFile& m_file;
    ProgressBar m_bar;
    GapReport m_gaps{m_bar};
    Recording m_recording;
    std::vector<unsigned char> m_buffer;
    const bool m_isDrawn;
    std::uint64_t m_largest = 0;
    Clock::time_point m_drawnAt = Clock::now();
    std::uint64_t m_drawnRows = 0;
    std::uint64_t m_drawnSamples = 0;
};

/// Whether the module may have more: it gave a block as full as the buffer, or a limit of its own,
/// allows.
bool Recorder::fetch()
{
    constexpr std::uint64_t kSmallestLimit = 16384;
    std::uint64_t received = 0;
    m_session.judge(
        ZEL_XDAQ_GetMeasValBlock(m_session.uuid(), m_buffer.data(), &received, m_buffer.size()),
        "fetch measured values", {}, Answer::data);
    m_largest = std::max(m_largest, received);
    const bool hasMore = received >= kSmallestLimit && received >= m_largest / 2;
    m_recording.take(m_buffer.data(), received, hasMore);
    return hasMore;
}

void Recorder::draw(double seconds)
{
    constexpr std::chrono::milliseconds kRedraw{200};
    const auto now = Clock::now();
    const std::chrono::duration<double> since = now - m_drawnAt;
    if (!m_isDrawn || since < kRedraw)
        return;
    const auto inASecond = [&](std::uint64_t number, std::uint64_t before) {
        return std::llround(static_cast<double>(number - before) / since.count());
    };
    char text[160];
    std::snprintf(text, sizeof text, "%.1f s, %llu rows, %lld rows/s, %lld samples/s, %llu lost",
                  m_recording.seconds(), static_cast<unsigned long long>(m_recording.rows()),
                  inASecond(m_recording.rows(), m_drawnRows),
                  inASecond(m_recording.samples(), m_drawnSamples),
                  static_cast<unsigned long long>(m_recording.lost()));
    m_drawnAt = now;
    m_drawnRows = m_recording.rows();
    m_drawnSamples = m_recording.samples();
    if (seconds > 0)
        m_bar.draw(m_recording.seconds() / seconds, text);
    else
        m_bar.draw(text);
}

CommandFailure Recorder::breakOff(const CommandFailure& cause)
{
    if (!m_file.hasFailed()) {
        try {
            m_recording.breakOff();
        } catch (const CommandFailure&) {
            // There is one cause.
        }
    }
    constexpr std::size_t kName = 5; // "zel: "
    const std::string why = cause.message();
    m_file.breakOff("# broken off: " + why.substr(kName, why.find('\n') - kName) + "\n");
    FailureReport report = cause.report();
    report.advice = countOf(m_file.rows(), "row") + " went to " + m_file.name() +
                    (report.advice.empty() ? "" : "; " + report.advice);
    report.result = std::make_shared<nlohmann::json>(result());
    return CommandFailure(report);
}

void Recorder::requireWhole() const
{
    FailureReport report;
    if (m_recording.rows() == 0) {
        report.problem = "nothing was recorded: no values came";
        report.advice = "'zel read " + m_session.address() + "' shows what the signals have now";
    } else if (m_recording.gaps() > 0) {
        report.problem = summary() + ", but with " + countOf(m_recording.gaps(), "gap") + ": " +
                         countOf(m_recording.lost(), "sample") + " lost";
        report.advice = "lines '# gap:' tell where; fewer signals or a lower --rate give this host "
                        "less to do";
    } else {
        return;
    }
    report.result = std::make_shared<nlohmann::json>(result());
    throw CommandFailure(report);
}

nlohmann::json Recorder::result() const
{
    nlohmann::json result = m_session.identity();
    result.update({{"file", m_file.name()},
                   {"rows", m_file.rows()},
                   {"lost", m_recording.lost()},
                   {"gaps", m_recording.gaps()},
                   {"late", m_recording.late()}});
    if (!m_file.hasFailed())
        result["samples"] = m_recording.samples(); // else nobody knows how many arrived
    return result;
}

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
    RecordingFile file(output, arguments.file, arguments.mayReplace);
    const bool isOnScreen = arguments.file.empty() && output.isOnTerminal();
    Recorder recorder(session, signals, file, !isOnScreen);
    try {
        recorder.run(arguments.duration);
        subscription.reset();
        recorder.finish();
    } catch (const CommandFailure& failure) {
        throw recorder.breakOff(failure);
    } catch (const std::exception& error) {
        throw recorder.breakOff(CommandFailure({.problem = error.what()}));
    }
    recorder.requireWhole();
    if (output.isJson)
        output.json(recorder.result());
    else if (!arguments.file.empty())
        output.line(recorder.summary() + ", without a gap");
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
