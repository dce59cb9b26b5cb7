#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace zel {

/// How a field of a record stands in its document.
enum class FieldKind {
    address,     // attribute "address" of the root; std::uint32_t
    text,        // terminated within `size` bytes
    number,      // std::uint32_t
    hexadecimal, // std::uint32_t
    number64,    // std::uint64_t
    real,        // double, finite
    range,       // ZEL_Range: children "Minimum" and "Maximum"
    unit,        // std::uint32_t: the unit's name; without the element where the code is 0
    choice,      // std::uint32_t or std::int32_t: position among `words`
};

struct RecordField {
    const char* name;
    FieldKind kind;
    std::size_t offset;
    std::size_t size = 0;
    std::span<const char* const> words = {};
};

/// A record of the public header and the document that goes with it.
struct RecordLayout {
    const char* root;
    std::size_t size;
    std::span<const RecordField> fields;
    /// What must hold between fields: 0 or a result code. May be null.
    std::int32_t (*check)(const void* record) = nullptr;
};

extern const RecordLayout kSensorLayout;
extern const RecordLayout kCanSensorLayout;
extern const RecordLayout kSignalLayout;
extern const RecordLayout kCanSignalLayout;
extern const RecordLayout kGateIndexLayout;

} // namespace zel
