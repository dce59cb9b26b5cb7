#pragma once

#include "caller_buffer.h"
#include "record_fields.h"

#include <string_view>

namespace zel {

// Records and their documents. What one composes the other reads back without loss.

/// 0, ZEL_SRV_BUFFER_TOO_SMALL, ZEL_SRV_INVALID_PARAMETERS, ZEL_UNIT_NOT_FOUND or what the layout's
/// check finds; on failure the buffer is an empty text.
std::int32_t composeRecord(const RecordLayout& layout, const void* record,
                           const TextBuffer& buffer);

/// 0, ZEL_PARAM_XML_ERROR, ZEL_UTIL_STRING_CONVERSION, ZEL_SRV_INVALID_PARAMETERS,
/// ZEL_UNIT_NOT_FOUND or what the layout's check finds; on failure the record is zero.
std::int32_t parseRecord(const RecordLayout& layout, std::string_view document, void* record);

} // namespace zel
