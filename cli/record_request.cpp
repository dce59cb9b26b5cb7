#include "record_request.h"

#include "calendar.h"
#include "command_failure.h"
#include "number_text.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <string_view>
#include <utility>

namespace zel::cli {

namespace {

constexpr double kSecond = 1e9;

template <std::size_t Count>
std::optional<double> withUnit(std::string_view text,
                               const std::array<std::pair<std::string_view, double>, Count>& units)
{
    const auto digits = text.find_first_not_of("0123456789.eE+-");
    std::string_view unit = digits == std::string_view::npos ? "" : text.substr(digits);
    // "1e3" is a number, and in "5 EiB" nothing is.
    const auto number = decimalNumber(text.substr(0, digits));
    while (unit.starts_with(' '))
        unit.remove_prefix(1);
    if (!number)
        return {};
    for (const auto& [name, factor] : units)
        if (unit == name)
            return *number * factor;
    return {};
}

std::optional<std::uint64_t> whole(std::optional<double> number)
{
    constexpr double kMost = 1e18; // 30 years in nanoseconds
    if (!number || !(*number >= 1) || *number > kMost)
        return {};
    return static_cast<std::uint64_t>(*number + 0.5);
}

/// Seconds since 1970 of a local or a UTC time; nothing for a day that there is not.
std::optional<std::time_t> secondsOf(std::tm time, bool isUtc)
{
    std::tm checked = time;
    checked.tm_isdst = -1;
    const std::time_t local = std::mktime(&checked); // the 31st of April becomes another day
    const bool isThere = checked.tm_mday == time.tm_mday && checked.tm_mon == time.tm_mon;
    const std::time_t seconds = isUtc ? secondsOfUtc(time) : local;
    return seconds == -1 || !isThere ? std::nullopt : std::optional{seconds};
}

} // namespace

std::vector<acquisition::ModuleRequest> modulesOf(const std::vector<std::string>& words)
{
    std::vector<acquisition::ModuleRequest> modules;
    for (const std::string& word : words) {
        const bool isFirst = modules.empty();
        const bool isNamed = word.starts_with('@');
        try {
            const ModuleTarget target = ModuleTarget::parse(isNamed ? word.substr(1) : word);
            if (isFirst || isNamed || !target.mayBeName) {
                modules.push_back({target, {}, {}, {}});
                continue;
            }
        } catch (const std::invalid_argument& error) {
            if (isFirst || isNamed)
                throw CommandFailure({.problem = error.what()});
        }
        modules.back().signals.push_back({word, {}, {}});
    }
    for (const auto& module : modules)
        if (module.signals.empty())
            throw CommandFailure({.problem = "no signal of " + module.target.text + " is named",
                                  .advice = "'all' means all that are switched on; a pattern such "
                                            "as 'AnalogIn_*' some of them"});
    return modules;
}

std::optional<std::uint64_t> timeSpan(const std::string& text)
{
    static constexpr std::array<std::pair<std::string_view, double>, 8> kUnits{
        {{"", kSecond},
         {"s", kSecond},
         {"ms", 1e6},
         {"us", 1e3},
         {"min", 60 * kSecond},
         {"h", 3600 * kSecond},
         {"d", 86400 * kSecond},
         {"m", 60 * kSecond}}};
    return whole(withUnit(text, kUnits));
}

std::optional<std::uint64_t> dataSize(const std::string& text)
{
    static constexpr std::array<std::pair<std::string_view, double>, 10> kUnits{{{"", 1},
                                                                                 {"B", 1},
                                                                                 {"kB", 1e3},
                                                                                 {"MB", 1e6},
                                                                                 {"GB", 1e9},
                                                                                 {"TB", 1e12},
                                                                                 {"KiB", 0x1p10},
                                                                                 {"MiB", 0x1p20},
                                                                                 {"GiB", 0x1p30},
                                                                                 {"TiB", 0x1p40}}};
    return whole(withUnit(text, kUnits));
}

std::optional<std::uint64_t> pointInTime(const std::string& text)
{
    const std::time_t now = std::time(nullptr);
    std::tm time = localTime(now);
    time.tm_sec = 0;
    std::string_view rest = text;
    const bool isUtc = rest.ends_with('Z');
    rest.remove_suffix(isUtc ? 1 : 0);
    double fraction = 0;
    if (const auto point = rest.find('.'); point != std::string_view::npos) {
        const auto number = decimalNumber("0" + std::string{rest.substr(point)});
        if (!number)
            return {};
        fraction = *number;
        rest = rest.substr(0, point);
    }
    const std::string digits{rest};
    int end = 0;
    const auto isAll = [&] { return end == static_cast<int>(digits.size()); };
    bool hasDate = true;
    char separator = 0;
    if (std::sscanf(digits.c_str(), "%4d-%2d-%2d%c%2d:%2d:%2d%n", &time.tm_year, &time.tm_mon,
                    &time.tm_mday, &separator, &time.tm_hour, &time.tm_min, &time.tm_sec,
                    &end) == 7 &&
        isAll() && (separator == 'T' || separator == ' ')) {
        time.tm_year -= 1900;
        time.tm_mon -= 1;
    } else {
        hasDate = false;
        time = localTime(now);
        time.tm_sec = 0;
        const bool hasSeconds = std::sscanf(digits.c_str(), "%2d:%2d:%2d%n", &time.tm_hour,
                                            &time.tm_min, &time.tm_sec, &end) == 3;
        if (!(hasSeconds && isAll()) &&
            !(std::sscanf(digits.c_str(), "%2d:%2d%n", &time.tm_hour, &time.tm_min, &end) == 2 &&
              isAll()))
            return {};
        if (isUtc)
            return {}; // a time of day is the host's
    }
    if (time.tm_hour > 23 || time.tm_min > 59 || time.tm_sec > 59 || time.tm_hour < 0 ||
        time.tm_min < 0 || time.tm_sec < 0)
        return {};
    auto seconds = secondsOf(time, isUtc);
    if (seconds && !hasDate && *seconds <= now) {
        ++time.tm_mday; // tomorrow, whatever month that is in
        time.tm_isdst = -1;
        seconds = std::mktime(&time);
    }
    if (!seconds || *seconds < 0)
        return {};
    return static_cast<std::uint64_t>(*seconds) * 1'000'000'000 +
           static_cast<std::uint64_t>(fraction * kSecond);
}

std::optional<RecordingFormat> formatNamed(const std::string& name)
{
    if (name == "csv")
        return RecordingFormat::csv;
    if (name == "h5" || name == "hdf5")
        return RecordingFormat::hdf5;
    if (name == "jsonl")
        return RecordingFormat::jsonLines;
    if (name == "f32")
        return RecordingFormat::float32;
    return {};
}

RecordingFormat formatOf(const RecordRequest& request)
{
    if (request.format)
        return *request.format;
    const auto point = request.out.find_last_of("./\\");
    const bool hasSuffix = point != std::string::npos && request.out[point] == '.';
    const std::string suffix = hasSuffix ? request.out.substr(point + 1) : "";
    return formatNamed(suffix).value_or(RecordingFormat::csv);
}

std::string partName(const std::string& file, std::uint64_t begin)
{
    const std::tm time = localTime(static_cast<std::time_t>(begin / 1'000'000'000));
    std::array<char, 32> text{};
    std::strftime(text.data(), text.size(), "-%Y-%m-%dT%H-%M-%S", &time);
    const auto point = file.find_last_of("./\\");
    const bool hasSuffix = point != std::string::npos && file[point] == '.' && point != 0;
    return hasSuffix ? file.substr(0, point) + text.data() + file.substr(point)
                     : file + text.data();
}

} // namespace zel::cli
