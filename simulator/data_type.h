#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

namespace zel::simulator {

/// The forms of a record's elements, as its header names them.
enum class DataType : std::uint8_t {
    int32 = 20,
    int64 = 24,
    float32 = 36,
    float64 = 40,
    timedInt64 = 80,
    timedInt32 = 92,
    timedFloat64 = 96,
    timedFloat32 = 108,
    timedUint64 = 224,
    timedUint32 = 236,
};

/// "No value", before it takes its data type's form.
inline constexpr double kNoValue = std::numeric_limits<double>::max();

constexpr bool isTimed(DataType type)
{
    return type != DataType::int32 && type != DataType::int64 && type != DataType::float32 &&
           type != DataType::float64;
}

constexpr std::size_t elementSize(DataType type)
{
    const std::size_t size = static_cast<std::size_t>(type) & 0xF;
    return size == 0 ? 16 : size;
}

} // namespace zel::simulator
