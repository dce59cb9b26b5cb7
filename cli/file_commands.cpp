// zel info, repair and convert-file: recordings as files.

#include "application.h"
#include "command_failure.h"
#include "file_content.h"
#include "hdf5_reader.h"
#include "interrupt.h"
#include "iso_time.h"
#include "number_text.h"
#include "printable.h"
#include "progress_bar.h"
#include "record_request.h"
#include "recording_reader.h"
#include "recording_sinks.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <numeric>

#include <nlohmann/json.hpp>

namespace zel::cli {

namespace {

using acquisition::iRecordingReader;
using acquisition::RecordingEnd;
using acquisition::RecordingSummary;
using acquisition::Setup;

struct FileArguments {
    std::string file;
    std::string into;
    std::string format;
    unsigned deflate = 0;
    bool mayReplace = false;
    bool hasAllGaps = false;
};

std::string rateText(const acquisition::SignalInfo& signal)
{
    if (!signal.isEven || signal.rate == 0)
        return "-";
    std::string text = std::to_string(signal.rate / 1000);
    if (const std::uint64_t rest = signal.rate % 1000; rest != 0)
        text += '.' + std::to_string(1000 + rest).substr(1);
    return text + " Hz";
}

std::string endText(const RecordingEnd& end)
{
    switch (end.how) {
    case RecordingEnd::How::complete:
        return "whole" + (end.time != 0 ? ", ended " + acquisition::isoTime(end.time) : "");
    case RecordingEnd::How::recording:
        return "being recorded";
    default:
        return "broken off" + (end.time != 0 ? " at " + acquisition::isoTime(end.time) : "") +
               (end.cause.empty() ? "" : ": " + end.cause);
    }
}

std::string seconds(std::int64_t nanoseconds)
{
    const std::uint64_t size =
        static_cast<std::uint64_t>(nanoseconds < 0 ? -nanoseconds : nanoseconds);
    return (nanoseconds < 0 ? "-" : "") + std::to_string(size / 1'000'000'000) + '.' +
           std::to_string(1'000'000'000 + size % 1'000'000'000).substr(1) + " s";
}

void tellSignals(CommandOutput& output, const Setup& setup, const RecordingSummary& summary)
{
    TextTable table({{"Signal"},
                     {"Column"},
                     {"Unit"},
                     {"Rate", Align::right},
                     {"Samples", Align::right},
                     {"Missing", Align::right},
                     {"Gaps", Align::right}});
    for (std::size_t i = 0; i < setup.signals.size(); ++i) {
        const auto& signal = setup.signals[i];
        const auto& totals = summary.totals[i];
        const std::string module =
            setup.modules.size() > 1 ? setup.modules[signal.module].label + '/' : "";
        table.addRow({module + signal.reference, signal.column, signal.unit, rateText(signal),
                      std::to_string(totals.samples), std::to_string(totals.missing),
                      std::to_string(totals.gaps)});
    }
    output.table(table, "no signals");
}

void tellGaps(CommandOutput& output, const Setup& setup, const RecordingSummary& summary,
              bool areAllWanted)
{
    if (summary.gaps.empty())
        return;
    constexpr std::size_t kSome = 10;
    TextTable table({{"Gap in"},
                     {"Index", Align::right},
                     {"Samples", Align::right},
                     {"From"},
                     {"To"},
                     {"Cause"}});
    const std::size_t shown =
        areAllWanted ? summary.gaps.size() : std::min(kSome, summary.gaps.size());
    for (std::size_t i = 0; i < shown; ++i) {
        const auto& gap = summary.gaps[i];
        const auto& signal = setup.signals[gap.signal];
        const std::string module =
            setup.modules.size() > 1 ? setup.modules[signal.module].label + '/' : "";
        table.addRow({module + signal.column, std::to_string(gap.index), std::to_string(gap.count),
                      acquisition::isoTime(gap.begin), acquisition::isoTime(gap.end),
                      std::string{acquisition::nameOf(gap.cause)}});
    }
    const std::size_t left = summary.gaps.size() - shown;
    output.line("");
    output.table(table, "",
                 left > 0 ? "and " + counted(left, "more gap") + ", which --gaps lists" : "");
}

void tellClocks(CommandOutput& output, const Setup& setup, const RecordingSummary& summary)
{
    for (std::size_t i = 0; i < setup.modules.size(); ++i) {
        const acquisition::ClockEstimate* last = nullptr;
        for (const auto& clock : summary.clocks)
            last = clock.module == i ? &clock : last;
        if (!last)
            continue;
        char drift[32];
        std::snprintf(drift, sizeof drift, "%.3f", last->drift * 1e6);
        output.line("clock of " + printable(setup.modules[i].label) + ": " + seconds(last->offset) +
                    " behind the host's, to " +
                    seconds(static_cast<std::int64_t>(last->uncertainty)) + ", drift " + drift +
                    " ppm");
    }
}

nlohmann::json jsonOf(const std::string& file, const Setup& setup, const RecordingSummary& summary)
{
    auto modules = nlohmann::json::array();
    for (const auto& module : setup.modules)
        modules.push_back({{"label", module.label},
                           {"address", module.address},
                           {"uuid", hexadecimal(module.uuid)},
                           {"name", module.name}});
    auto signals = nlohmann::json::array();
    for (std::size_t i = 0; i < setup.signals.size(); ++i) {
        const auto& signal = setup.signals[i];
        const auto& totals = summary.totals[i];
        signals.push_back({{"module", setup.modules[signal.module].label},
                           {"reference", signal.reference},
                           {"name", signal.name},
                           {"column", signal.column},
                           {"unit", signal.unit},
                           {"rate", static_cast<double>(signal.rate) / 1000},
                           {"samples", totals.samples},
                           {"missing", totals.missing},
                           {"gaps", totals.gaps}});
    }
    auto gaps = nlohmann::json::array();
    for (const auto& gap : summary.gaps)
        gaps.push_back({{"signal", gap.signal},
                        {"index", gap.index},
                        {"count", gap.count},
                        {"begin", gap.begin},
                        {"end", gap.end},
                        {"cause", acquisition::nameOf(gap.cause)}});
    auto clocks = nlohmann::json::array();
    for (const auto& clock : summary.clocks)
        clocks.push_back({{"module", setup.modules[clock.module].label},
                          {"moduleTime", clock.moduleTime},
                          {"offset", clock.offset},
                          {"drift", clock.drift},
                          {"uncertainty", clock.uncertainty}});
    const auto how = summary.end.how;
    return {{"file", file},
            {"begin", setup.begin},
            {"end", how == RecordingEnd::How::complete    ? "whole"
                    : how == RecordingEnd::How::recording ? "recording"
                                                          : "broken off"},
            {"cause", summary.end.cause},
            {"modules", modules},
            {"signals", signals},
            {"gaps", gaps},
            {"clocks", clocks}};
}

template <class Work>
void onRecording(Work&& work)
try {
    work();
} catch (const acquisition::RecordingFailure& failure) {
    throw CommandFailure({.problem = failure.what()});
} catch (const acquisition::SinkFailure& failure) {
    throw CommandFailure({.problem = failure.what()});
}

void info(CommandOutput& output, const FileArguments& arguments)
{
    onRecording([&] {
        const auto reader = acquisition::openRecording(arguments.file);
        const Setup& setup = reader->setup();
        const RecordingSummary summary = reader->summary();
        if (output.isJson)
            return output.json(jsonOf(arguments.file, setup, summary));
        output.value(arguments.file + ": " + reader->format() + ", " + endText(summary.end));
        if (setup.begin != 0)
            output.line("begun " + acquisition::isoTime(setup.begin) +
                        (setup.isOnHostTime ? ", all times on the host's clock" : ""));
        for (const auto& module : setup.modules)
            output.value("module " + module.label + ": " + module.address + ", UUID " +
                         hexadecimal(module.uuid) +
                         (module.name.empty() || module.name == module.label
                              ? ""
                              : ", name " + module.name));
        tellClocks(output, setup, summary);
        output.line("");
        tellSignals(output, setup, summary);
        tellGaps(output, setup, summary, arguments.hasAllGaps);
    });
}

void repair(CommandOutput& output, const FileArguments& arguments)
{
    onRecording([&] {
        const auto result = acquisition::repairHdf5(arguments.file);
        const bool wasFine = result == acquisition::Repair::wasFine;
        if (output.isJson)
            output.json({{"file", arguments.file}, {"repaired", !wasFine}});
        else
            output.value(arguments.file +
                         (wasFine ? " is closed properly, nothing was changed"
                                  : " broke off and is closed properly now; 'zel info' tells what "
                                    "is in it"));
    });
}

void convert(CommandOutput& output, const FileArguments& arguments)
{
    RecordRequest request;
    request.out = arguments.into;
    request.mayReplace = arguments.mayReplace;
    request.deflate = arguments.deflate;
    if (!arguments.format.empty())
        request.format = formatNamed(arguments.format);
    std::error_code error;
    if (std::filesystem::equivalent(hostPath(arguments.file), hostPath(arguments.into), error))
        throw CommandFailure({.problem = "a file cannot be converted into itself"});
    requireNewFile(arguments.into, arguments.mayReplace);
    onRecording([&] {
        const auto reader = acquisition::openRecording(arguments.file);
        const RecordingSummary summary = reader->summary();
        if (summary.end.how == RecordingEnd::How::recording)
            throw CommandFailure({.problem = arguments.file + " is still being recorded",
                                  .advice = "what is in it now can be read with any program that "
                                            "reads HDF5 while it is written"});
        RecordingSinks sinks(output, request, reader->setup(), true);
        const auto sink = std::move(sinks.make(1, reader->setup().begin).front());
        std::uint64_t samples = 0;
        std::uint64_t gaps = 0;
        const auto requireRoom = [&](bool hasRoom) {
            if (!hasRoom)
                throw CommandFailure({.problem = "the disk of " + arguments.into + " is full",
                                      .advice = "what was written so far is not all"});
        };
        while (const auto batch = reader->next()) {
            stopIfInterrupted();
            requireRoom(sink->write(*batch));
            for (const auto& chunk : batch->chunks)
                samples += chunk.count;
            gaps += batch->gaps.size();
        }
        const bool isWhole = summary.end.how == RecordingEnd::How::complete;
        sink->finish(isWhole ? "" : summary.end.cause.empty() ? "broken off" : summary.end.cause);
        if (output.isJson)
            output.json({{"file", arguments.into}, {"samples", samples}, {"gaps", gaps}});
        else
            output.value("converted " + counted(samples, "sample") + " and " +
                         counted(gaps, "gap") + " to " + arguments.into);
    });
}

} // namespace

void addFileCommands(CLI::App& app, Application& application)
{
    constexpr auto kGroup = "Recordings";
    const auto addFile = [](CLI::App& command, std::string& file) {
        command.add_option("FILE", file, "A recording")->required();
    };
    {
        auto& command = addCommand(app, {.name = "info",
                                         .group = kGroup,
                                         .description = "Tell what is in a recording: signals, "
                                                        "gaps, clocks, how it ended",
                                         .examples = "  zel info run.h5"});
        const auto arguments = std::make_shared<FileArguments>();
        addFile(command, arguments->file);
        command.add_flag("--gaps", arguments->hasAllGaps, "List all gaps");
        whenChosen(command, application, arguments, info);
    }
    {
        auto& command =
            addCommand(app, {.name = "repair",
                             .group = kGroup,
                             .description = "Close an HDF5 recording that was broken off, so that "
                                            "any program opens it",
                             .examples = "  zel repair run.h5"});
        const auto arguments = std::make_shared<FileArguments>();
        addFile(command, arguments->file);
        whenChosen(command, application, arguments, repair);
    }
    {
        auto& command =
            addCommand(app, {.name = "convert-file",
                             .group = kGroup,
                             .description = "Convert a recording into another format; every gap "
                                            "is kept",
                             .examples = "  zel convert-file run.h5 run.csv"});
        const auto arguments = std::make_shared<FileArguments>();
        addFile(command, arguments->file);
        command.add_option("INTO", arguments->into, "The new file")->required();
        command
            .add_option("--format", arguments->format,
                        "csv, h5, jsonl or f32; otherwise as the new file's name ends")
            ->check(CLI::IsMember({"csv", "h5", "hdf5", "jsonl", "f32"}))
            ->option_text("FORMAT");
        command.add_option("--deflate", arguments->deflate, "HDF5: compress, 1 (fast) to 9")
            ->check(CLI::Range(0, 9))
            ->option_text("LEVEL");
        command.add_flag("--force", arguments->mayReplace, "Replace the new file if it is there");
        whenChosen(command, application, arguments, convert);
    }
}

} // namespace zel::cli
