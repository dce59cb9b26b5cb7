#pragma once

#include "ZEL_VR_Framework.h"

#include <cstdint>
#include <string_view>

namespace zel {

/// Reads the messages of a module's error reply. `count` gets their number, also when there are
/// more than `capacity`. Returns 0, ZEL_PARAM_XML_ERROR or ZEL_SRV_BUFFER_TOO_SMALL.
std::int32_t parseErrorReply(std::string_view document, ZEL_ReplyMessage* messages,
                             std::uint64_t& count, std::uint64_t capacity);

} // namespace zel
