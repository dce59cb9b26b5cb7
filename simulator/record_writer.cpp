#include "record_writer.h"

#include "widest_vectors.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <type_traits>

namespace zel::simulator {

namespace {

template <class Raw>
ZEL_IN_VECTORS inline Raw bigEndian(Raw value)
{
    if constexpr (std::endian::native == std::endian::big)
        return value;
    // Compilers know these for what they are: one instruction.
    if constexpr (sizeof(Raw) == 4)
        return (value >> 24) | ((value >> 8) & 0xFF00) | ((value & 0xFF00) << 8) | (value << 24);
    else
        return static_cast<Raw>(bigEndian(static_cast<std::uint32_t>(value))) << 32 |
               bigEndian(static_cast<std::uint32_t>(value >> 32));
}

template <class Value>
using RawOf = std::conditional_t<sizeof(Value) == 4, std::uint32_t, std::uint64_t>;

/// Numbers beyond the type's end become its end, which for all types means "no value".
template <class Value>
ZEL_IN_VECTORS inline Value narrowed(double value)
{
    constexpr auto kLowest = static_cast<double>(std::numeric_limits<Value>::lowest());
    constexpr auto kHighest = static_cast<double>(std::numeric_limits<Value>::max());
    if constexpr (std::is_floating_point_v<Value>) {
        return static_cast<Value>(std::min(std::max(value, kLowest), kHighest));
    } else {
        // A double cannot hold the highest 64-bit numbers: the next that it can is just too large.
        if (value >= kHighest)
            return std::numeric_limits<Value>::max();
        const double rounded = value + (value < 0 ? -0.5 : 0.5);
        if (rounded >= kHighest)
            return std::numeric_limits<Value>::max();
        return static_cast<Value>(std::max(rounded, kLowest));
    }
}

template <class Value>
ZEL_IN_VECTORS inline RawOf<Value> toWire(double value)
{
    return bigEndian(std::bit_cast<RawOf<Value>>(narrowed<Value>(value)));
}

template <class Value>
void writeEven(std::span<const double> values, std::byte* out)
{
    inWidestVectors([values, out]() ZEL_IN_VECTORS {
        for (std::size_t i = 0; i < values.size(); ++i) {
            const auto raw = toWire<Value>(values[i]);
            std::memcpy(out + i * sizeof raw, &raw, sizeof raw);
        }
    });
}

template <class Value>
void writeTimed(std::span<const double> values, std::span<const std::uint64_t> times,
                std::byte* out)
{
    for (std::size_t i = 0; i < values.size(); ++i) {
        const std::uint64_t time = bigEndian(times[i]);
        const auto raw = toWire<Value>(values[i]);
        std::memcpy(out, &time, sizeof time);
        std::memcpy(out + sizeof time, &raw, sizeof raw);
        out += sizeof time + sizeof raw;
    }
}

/// The value before the record, in the form in which hosts read it.
void writeBefore(DataType type, double value, std::byte* out)
{
    const std::span one{&value, 1};
    switch (type) {
    case DataType::int32:
        return writeEven<std::int32_t>(one, out);
    case DataType::timedUint32:
        return writeEven<std::uint32_t>(one, out);
    case DataType::float32:
    case DataType::timedInt32:
    case DataType::timedFloat32:
        return writeEven<float>(one, out);
    case DataType::int64:
    case DataType::timedInt64:
        return writeEven<std::int64_t>(one, out);
    case DataType::timedUint64:
        return writeEven<std::uint64_t>(one, out);
    case DataType::float64:
    case DataType::timedFloat64:
        return writeEven<double>(one, out);
    }
}

} // namespace

void writeRecordHead(const RecordHead& head, MutableBytes out)
{
    ByteWriter writer{out};
    writer.u8(head.kind);
    writer.u8(static_cast<std::uint8_t>(head.dataType));
    writer.u16(head.userSignalId);
    writer.u32(head.count);
    writer.u64(head.timeStamp);
    writer.u64(head.kind == 1 ? head.millihertz : 0);
    if (head.kind == 2)
        writeBefore(head.dataType, head.before, out.data() + 16);
}

void writeElements(DataType type, std::span<const double> values, MutableBytes out)
{
    switch (type) {
    case DataType::int32:
        return writeEven<std::int32_t>(values, out.data());
    case DataType::int64:
        return writeEven<std::int64_t>(values, out.data());
    case DataType::float64:
        return writeEven<double>(values, out.data());
    default:
        return writeEven<float>(values, out.data());
    }
}

void writeElements(DataType type, std::span<const double> values,
                   std::span<const std::uint64_t> times, MutableBytes out)
{
    switch (type) {
    case DataType::timedInt32:
        return writeTimed<std::int32_t>(values, times, out.data());
    case DataType::timedInt64:
        return writeTimed<std::int64_t>(values, times, out.data());
    case DataType::timedUint32:
        return writeTimed<std::uint32_t>(values, times, out.data());
    case DataType::timedUint64:
        return writeTimed<std::uint64_t>(values, times, out.data());
    case DataType::timedFloat32:
        return writeTimed<float>(values, times, out.data());
    default:
        return writeTimed<double>(values, times, out.data());
    }
}

} // namespace zel::simulator
