#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

namespace zel::wire {

/// The forms of a record's elements, as its header names them. A timed element is a time stamp of
/// 8 bytes and the value.
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

/// Nothing for a number outside the protocol.
constexpr std::optional<DataType> dataTypeOf(std::uint8_t number)
{
    switch (const auto type = static_cast<DataType>(number)) {
    case DataType::int32:
    case DataType::int64:
    case DataType::float32:
    case DataType::float64:
    case DataType::timedInt64:
    case DataType::timedInt32:
    case DataType::timedFloat64:
    case DataType::timedFloat32:
    case DataType::timedUint64:
    case DataType::timedUint32:
        return type;
    }
    return {};
}

constexpr bool isTimed(DataType type)
{
    return type != DataType::int32 && type != DataType::int64 && type != DataType::float32 &&
           type != DataType::float64;
}

/// Bytes of one element, 1 to 16; known for every number, whatever it stands for.
constexpr std::size_t elementSize(std::uint8_t number)
{
    const std::size_t size = number & 0x0Fu;
    return size == 0 ? 16 : size;
}

constexpr std::size_t elementSize(DataType type)
{
    return elementSize(static_cast<std::uint8_t>(type));
}

} // namespace zel::wire
