#include "iso_time.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <utility>

namespace zel::acquisition {

namespace {

/// The digits at the beginning as a number; nothing where there are not so many.
std::optional<std::uint64_t> takeDigits(std::string_view& text, std::size_t count, char behind)
{
    std::uint64_t number = 0;
    const char* const end = text.data() + std::min(count, text.size());
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (text.size() <= count || error != std::errc{} || stop != text.data() + count ||
        text[count] != behind)
        return {};
    text.remove_prefix(count + 1);
    return number;
}

} // namespace

std::string isoTime(std::uint64_t nanoseconds)
{
    constexpr std::uint64_t kSecond = 1'000'000'000;
    const std::chrono::sys_seconds time{std::chrono::seconds{nanoseconds / kSecond}};
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day date{day};
    const std::chrono::hh_mm_ss clock{time - day};
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%09uZ",
                  static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                  static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
                  static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()),
                  static_cast<unsigned>(nanoseconds % kSecond));
    return text.data();
}

std::optional<std::uint64_t> timeOfIso(std::string_view text)
{
    using namespace std::chrono;
    constexpr std::uint64_t kSecond = 1'000'000'000;
    std::array<std::uint64_t, 7> parts{};
    constexpr std::array<std::pair<std::size_t, char>, 7> kParts{
        {{4, '-'}, {2, '-'}, {2, 'T'}, {2, ':'}, {2, ':'}, {2, '.'}, {9, 'Z'}}};
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const auto part = takeDigits(text, kParts[i].first, kParts[i].second);
        if (!part)
            return {};
        parts[i] = *part;
    }
    const year_month_day date{year{static_cast<int>(parts[0])},
                              month{static_cast<unsigned>(parts[1])},
                              day{static_cast<unsigned>(parts[2])}};
    const bool isTime = parts[3] < 24 && parts[4] < 60 && parts[5] < 60;
    constexpr std::uint64_t kLastYear = 2553; // whose end 64 bits of nanoseconds still reach
    if (!text.empty() || !date.ok() || !isTime || parts[0] < 1970 || parts[0] > kLastYear)
        return {};
    const auto days = static_cast<std::uint64_t>(sys_days{date}.time_since_epoch().count());
    const std::uint64_t seconds = ((days * 24 + parts[3]) * 60 + parts[4]) * 60 + parts[5];
    return seconds * kSecond + parts[6];
}

} // namespace zel::acquisition
