#include "iso_time.h"

#include <array>
#include <chrono>
#include <cstdio>

namespace zel::acquisition {

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

} // namespace zel::acquisition
