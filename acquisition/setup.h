#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace zel::acquisition {

/// What one value is, in the host's byte order.
enum class ValueType : std::uint8_t { int32, uint32, float32, int64, uint64, float64 };

constexpr std::size_t sizeOf(ValueType type)
{
    return type == ValueType::int32 || type == ValueType::uint32 || type == ValueType::float32 ? 4
                                                                                               : 8;
}

/// use.template operator()<T>() with the type of the values.
template <class Use>
decltype(auto) withValueType(ValueType type, Use&& use)
{
    switch (type) {
    case ValueType::int32:
        return use.template operator()<std::int32_t>();
    case ValueType::uint32:
        return use.template operator()<std::uint32_t>();
    case ValueType::float32:
        return use.template operator()<float>();
    case ValueType::int64:
        return use.template operator()<std::int64_t>();
    case ValueType::uint64:
        return use.template operator()<std::uint64_t>();
    default:
        return use.template operator()<double>();
    }
}

/// A module of a recording, as it was when that began.
struct ModuleInfo {
    std::string label; ///< unique within the recording; names its group in a file
    std::string address;
    std::uint64_t uuid = 0;
    std::string name;
    std::string parameters; ///< its parameter document: all that describes how it is set up
};

/// A signal of a recording.
struct SignalInfo {
    std::size_t module = 0; ///< position in Setup::modules
    std::string reference;
    std::string name;
    std::string column; ///< what it is called in the recording; unique within its module
    std::string unit;
    std::string path; ///< of its parameters
    ValueType type = ValueType::float32;
    bool isEven = true;     ///< sampled evenly; otherwise each sample has a time of its own
    std::uint64_t rate = 0; ///< in millihertz, where it is sampled evenly
    /// Calibration: parameters below `path` and what they were set to.
    std::vector<std::pair<std::string, std::string>> calibration;
};

/// What is recorded. Fixed before the first sample.
struct Setup {
    std::vector<ModuleInfo> modules;
    std::vector<SignalInfo> signals;
    std::uint64_t begin = 0; ///< the host's time, in nanoseconds since 1970
    bool isOnHostTime = false; ///< the samples' times were put on the host's clock
};

} // namespace zel::acquisition
