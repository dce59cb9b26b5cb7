#pragma once

#include "byte_cursor.h"
#include "data_type.h"
#include "no_value.h"

#include <cstdint>
#include <span>

namespace zel::simulator {

using wire::DataType;

inline constexpr std::size_t kRecordHeaderSize = 24;

/// What stands at the head of a record of a measured-value block.
struct RecordHead {
    std::uint8_t kind = 1;
    DataType dataType = DataType::float32;
    std::uint16_t userSignalId = 0;
    std::uint32_t count = 0;
    std::uint64_t timeStamp = 0;
    std::uint64_t millihertz = 0; ///< in records of kind 1
    double before = kNoValue;     ///< in records of kind 2: the value before the first element
};

/// Writes the head; `out` has kRecordHeaderSize bytes.
void writeRecordHead(const RecordHead& head, MutableBytes out);

/// Writes evenly sampled elements. A value that the type cannot hold becomes its least one or, as
/// kNoValue does, its "no value"; integers are rounded.
void writeElements(DataType type, std::span<const double> values, MutableBytes out);
/// Writes time-stamped elements.
void writeElements(DataType type, std::span<const double> values,
                   std::span<const std::uint64_t> times, MutableBytes out);

} // namespace zel::simulator
