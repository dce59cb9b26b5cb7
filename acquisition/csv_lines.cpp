#include "csv_lines.h"

#include "iso_time.h"
#include "plain_text.h"

#include <charconv>
#include <set>

namespace zel::acquisition {

namespace {

bool hasSeveral(const Setup& setup)
{
    return setup.modules.size() > 1;
}

std::string moduleLine(const Setup& setup, const ModuleInfo& module)
{
    return "# module: " +
           printable((hasSeveral(setup) ? module.label + ", " : "") + uuidText(module.uuid) +
                     " at " + module.address +
                     (module.name.empty() ? "" : ", name " + module.name)) +
           '\n';
}

std::string signalLine(const Setup& setup, const SignalInfo& signal)
{
    std::string line = "# signal: " + printable(signal.reference) + ", name " +
                       quoted(signal.name) + ", unit " + quoted(signal.unit) + ", ";
    line += signal.isEven ? rateText(signal.rate) + " Hz" : "time-stamped";
    line.append(", ").append(nameOf(signal.type)).append(signal.isEven ? "" : ", timed");
    if (!signal.column.empty() && signal.column != signal.reference)
        line += ", column " + quoted(signal.column);
    if (hasSeveral(setup))
        line += ", module " + quoted(setup.modules[signal.module].label);
    return line + '\n';
}

std::string columnLine(const Setup& setup, std::span<const std::size_t> signals)
{
    std::string line = "time [s]";
    for (const std::size_t position : signals) {
        const std::string& unit = setup.signals[position].unit;
        line += ',' + quoted(columnName(setup, position) + (unit.empty() ? "" : " [" + unit + "]"));
    }
    return line + '\n';
}

std::string signedSeconds(std::int64_t nanoseconds)
{
    char text[2 * kLongestNumber];
    const auto size = static_cast<std::uint64_t>(nanoseconds);
    const bool isNegative = nanoseconds < 0;
    text[0] = '-';
    const char* const end = putSeconds(text + 1, isNegative ? 0 - size : size);
    const std::string_view all{text, static_cast<std::size_t>(end - text)};
    return std::string(all.substr(isNegative ? 0 : 1));
}

} // namespace

std::string columnName(const Setup& setup, std::size_t signal)
{
    const SignalInfo& info = setup.signals[signal];
    const std::string& name = info.column.empty() ? info.reference : info.column;
    return hasSeveral(setup) ? setup.modules[info.module].label + '/' + name : name;
}

std::string csvHeading(const Setup& setup, std::span<const std::size_t> signals,
                       std::optional<std::uint64_t> start)
{
    std::set<std::size_t> modules;
    for (const std::size_t signal : signals)
        modules.insert(setup.signals[signal].module);
    std::string text = "# recorded by zel\n";
    for (const std::size_t module : modules)
        text += moduleLine(setup, setup.modules[module]);
    if (setup.isOnHostTime)
        text += "# times: by the host's clock\n";
    if (start)
        text += "# start: " + isoTime(*start) + '\n';
    for (const std::size_t signal : signals)
        text += signalLine(setup, setup.signals[signal]);
    return text + columnLine(setup, signals);
}

std::string gapLine(const Setup& setup, const Gap& gap)
{
    const bool isBack = gap.end < gap.begin;
    std::string what;
    if (gap.count > 0)
        what = std::to_string(gap.count) + " samples lost";
    else if (isBack)
        what = "the module's clock went back";
    else if (gap.cause == Cause::clockSet)
        what = "the module's clock was set forward";
    else
        what = "samples may be missing";
    return "# gap: " + printable(columnName(setup, gap.signal)) + ": " + what + " from " +
           isoTime(gap.begin) + " to " + isoTime(gap.end) + " (" + std::string(nameOf(gap.cause)) +
           ")\n";
}

std::string lateLine(const Setup& setup, std::size_t signal)
{
    return "# late: " + printable(columnName(setup, signal)) +
           ", its rows are not in the order of time\n";
}

std::string clockLine(const Setup& setup, const ClockEstimate& clock)
{
    char drift[kLongestNumber];
    char* const end = std::to_chars(std::begin(drift), std::end(drift), clock.drift).ptr;
    const std::string label = printable(setup.modules[clock.module].label) + ": ";
    return "# clock: " + (hasSeveral(setup) ? label : "") + "at " + isoTime(clock.moduleTime) +
           " offset " + signedSeconds(clock.offset) + " s, drift " +
           std::string(std::begin(drift), end) + ", uncertainty " +
           signedSeconds(static_cast<std::int64_t>(clock.uncertainty)) + " s\n";
}

std::string endLine(std::uint64_t latest, std::uint64_t rows, std::uint64_t samples,
                    std::uint64_t lost)
{
    return rows == 0
               ? "# end: nothing came\n"
               : "# end: " + isoTime(latest) + ", " + std::to_string(rows) + " rows, " +
                     std::to_string(samples) + " samples, " + std::to_string(lost) + " lost\n";
}

std::string brokenOffLine(const std::string& cause)
{
    return "# broken off: " + printable(cause) + '\n';
}

} // namespace zel::acquisition
