#pragma once

#include "byte_cursor.h"

#include <cstdint>

namespace zel {

/// Where a caller of the library wants a text: the buffer and its capacity in bytes, and the cell
/// that gets the text's whole length without its zero byte, also when it did not fit.
struct TextBuffer {
    char* data;
    std::uint64_t* length;
    std::uint64_t capacity;
};

struct CopyOutcome {
    std::int32_t result = 0;
    std::uint64_t length = 0;
    bool mustKeep = false; // the response belongs in the store of oversized responses
};

/// The buffer rule for texts: what is strictly shorter than the capacity is copied with a zero
/// byte; else the buffer becomes an empty text and the result is ZEL_SRV_BUFFER_TOO_SMALL. Only
/// what is longer than the capacity is kept; at exactly the capacity it is not.
CopyOutcome copyText(Bytes text, char* buffer, std::uint64_t capacity);

/// The rule for raw bytes: as many as fit, no zero byte, their count as the length;
/// ZEL_SRV_BUFFER_TOO_SMALL where some were cut off.
CopyOutcome copyBytes(Bytes data, void* buffer, std::uint64_t capacity);

} // namespace zel
