#pragma once

#include "ZEL_VR_Framework.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace zel::cli {

/// One element of a record as it came, in the host's byte order.
struct Sample {
    enum class Kind : std::uint8_t { integer, word, real, shortReal, noValue };

    std::uint64_t time = 0; ///< nanoseconds since 1970
    union {
        std::int64_t integer = 0;
        std::uint64_t word;
        double real;
        float shortReal;
    };
    Kind kind = Kind::noValue;
};

/// Turns one record into samples. Those of an evenly sampled record get their times from their
/// index: `rate` is in millihertz. False for a data type that this program does not know.
bool decodeRecord(const void* block, const ZEL_DaqHeader& header, std::uint64_t offset,
                  std::uint64_t rate, std::vector<Sample>& samples);

/// Two equal times that are both rounded down are at most this far apart.
constexpr std::uint64_t kRounding = 2;

/// The shortest text that reads back as the same value; "nan" for "no value".
void appendValue(std::string& text, const Sample& sample);
/// Seconds with nine decimals.
void appendSeconds(std::string& text, std::uint64_t nanoseconds);
/// "2026-11-21T05:46:00.123456789Z"
std::string utcText(std::uint64_t nanoseconds);

} // namespace zel::cli
