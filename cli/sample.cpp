#include "sample.h"

#include <charconv>
#include <chrono>
#include <cstdio>
#include <iterator>
#include <span>
#include <type_traits>

namespace zel::cli {

namespace {

constexpr std::uint64_t kNanoseconds = 1'000'000'000;

template <class Value>
void set(Sample& sample, Value value)
{
    if (isNoValue(value)) {
        sample.kind = Sample::Kind::noValue;
    } else if constexpr (std::is_same_v<Value, float>) {
        sample.kind = Sample::Kind::shortReal;
        sample.shortReal = value;
    } else if constexpr (std::is_same_v<Value, double>) {
        sample.kind = Sample::Kind::real;
        sample.real = value;
    } else if constexpr (std::is_signed_v<Value>) {
        sample.kind = Sample::Kind::integer;
        sample.integer = value;
    } else {
        sample.kind = Sample::Kind::word;
        sample.word = value;
    }
}

} // namespace

bool decodeRecord(const void* block, const ZEL_DaqHeader& header, std::uint64_t offset,
                  std::uint64_t rate, std::vector<Sample>& samples)
{
    constexpr std::uint64_t kHeader = 24;
    const auto* const begin = static_cast<const std::byte*>(block) + (offset - kHeader);
    const Block whole(std::span(begin, kHeader + elementSize(header.dataType) * header.count));
    const auto record = whole.begin();
    if (!record->isKnown())
        return false;
    const auto times = record->times(rate);
    samples.resize(times.size());
    record->visitValues([&](auto values) {
        for (std::size_t i = 0; i < samples.size(); ++i) {
            samples[i].time = times[i];
            set(samples[i], values[i]);
        }
    });
    return true;
}

void appendValue(std::string& text, const Sample& sample)
{
    char digits[40];
    const auto append = [&](auto value) {
        text.append(digits, std::to_chars(std::begin(digits), std::end(digits), value).ptr);
    };
    switch (sample.kind) {
    case Sample::Kind::integer:
        return append(sample.integer);
    case Sample::Kind::word:
        return append(sample.word);
    case Sample::Kind::real:
        return append(sample.real);
    case Sample::Kind::shortReal:
        return append(sample.shortReal);
    case Sample::Kind::noValue:
        text += "nan";
    }
}

void appendSeconds(std::string& text, std::uint64_t nanoseconds)
{
    char digits[24];
    const auto end =
        std::to_chars(std::begin(digits), std::end(digits), nanoseconds / kNanoseconds);
    text.append(digits, end.ptr);
    std::uint64_t rest = nanoseconds % kNanoseconds;
    char decimals[10] = {'.'};
    for (std::size_t i = 9; i > 0; --i) {
        decimals[i] = static_cast<char>('0' + rest % 10);
        rest /= 10;
    }
    text.append(decimals, sizeof decimals);
}

std::string utcText(std::uint64_t nanoseconds)
{
    using namespace std::chrono;
    const sys_seconds whole{seconds{static_cast<std::int64_t>(nanoseconds / kNanoseconds)}};
    const sys_days day = floor<days>(whole);
    const year_month_day date{day};
    const hh_mm_ss time{whole - day};
    char text[48];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d.%09uZ",
                  static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                  static_cast<unsigned>(date.day()), static_cast<int>(time.hours().count()),
                  static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()),
                  static_cast<unsigned>(nanoseconds % kNanoseconds));
    return text;
}

} // namespace zel::cli
