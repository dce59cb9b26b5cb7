#include "sample.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <limits>

namespace zel::cli {

namespace {

constexpr std::uint64_t kNanoseconds = 1'000'000'000;

template <class Value>
Value at(const std::vector<unsigned char>& bytes, std::size_t position)
{
    Value value;
    std::memcpy(&value, bytes.data() + position, sizeof value);
    return value;
}

template <class Value>
bool isNil(Value value)
{
    if constexpr (std::is_floating_point_v<Value>)
        return value == std::numeric_limits<Value>::max() || std::isnan(value);
    else
        return value == std::numeric_limits<Value>::max();
}

template <class Value>
void set(Sample& sample, Value value)
{
    if (isNil(value)) {
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

/// The elements of one type: with a time of their own, or counted from the record's.
template <class Value>
void decode(const std::vector<unsigned char>& bytes, const ZEL_DaqHeader& header,
            std::uint64_t rate, std::vector<Sample>& samples)
{
    const bool hasTimes = isTimed(header.dataType);
    const std::size_t size = sizeof(Value) + (hasTimes ? sizeof(std::uint64_t) : 0);
    samples.resize(bytes.size() / size);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        samples[i].time =
            hasTimes ? at<std::uint64_t>(bytes, i * size) : header.timeStamp + timeOfIndex(i, rate);
        set(samples[i], at<Value>(bytes, (i + 1) * size - sizeof(Value)));
    }
}

} // namespace

bool isTimed(std::uint8_t dataType)
{
    switch (dataType) {
    case ZEL_DAQ_TIMED_INT64:
    case ZEL_DAQ_TIMED_INT32:
    case ZEL_DAQ_TIMED_REAL64:
    case ZEL_DAQ_TIMED_REAL32:
    case ZEL_DAQ_TIMED_UINT64:
    case ZEL_DAQ_TIMED_UINT32:
        return true;
    default:
        return false;
    }
}

std::uint64_t elementSize(std::uint8_t dataType)
{
    const std::uint64_t size = dataType & 15U;
    return size == 0 ? 16 : size;
}

std::uint64_t timeOfIndex(std::uint64_t index, std::uint64_t millihertz)
{
    if (millihertz == 0)
        return 0;
    // index * 10^12 / rate without leaving 64 bits: the whole seconds first.
    const std::uint64_t turned = index * 1000;
    return turned / millihertz * kNanoseconds + turned % millihertz * kNanoseconds / millihertz;
}

double samplesIn(std::uint64_t nanoseconds, std::uint64_t millihertz)
{
    constexpr double kMost = 1e15; // whatever a module says, a number that can be counted with
    return std::min(static_cast<double>(nanoseconds) * static_cast<double>(millihertz) / 1e12,
                    kMost);
}

bool decodeRecord(const void* block, const ZEL_DaqHeader& header, std::uint64_t offset,
                  std::uint64_t rate, std::vector<Sample>& samples)
{
    std::vector<unsigned char> bytes(elementSize(header.dataType) * header.count);
    ZEL_XUTIL_GetDaqData(offset, block, &header, bytes.data(), bytes.size());
    switch (header.dataType) {
    case ZEL_DAQ_INT32:
    case ZEL_DAQ_TIMED_INT32:
        decode<std::int32_t>(bytes, header, rate, samples);
        return true;
    case ZEL_DAQ_INT64:
    case ZEL_DAQ_TIMED_INT64:
        decode<std::int64_t>(bytes, header, rate, samples);
        return true;
    case ZEL_DAQ_REAL32:
    case ZEL_DAQ_TIMED_REAL32:
        decode<float>(bytes, header, rate, samples);
        return true;
    case ZEL_DAQ_REAL64:
    case ZEL_DAQ_TIMED_REAL64:
        decode<double>(bytes, header, rate, samples);
        return true;
    case ZEL_DAQ_TIMED_UINT64:
        decode<std::uint64_t>(bytes, header, rate, samples);
        return true;
    case ZEL_DAQ_TIMED_UINT32:
        decode<std::uint32_t>(bytes, header, rate, samples);
        return true;
    default:
        return false;
    }
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
