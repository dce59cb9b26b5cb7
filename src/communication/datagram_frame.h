#pragma once

#include "byte_cursor.h"

#include <cstdint>
#include <memory>

namespace zel {

class clRxTelContainer;

/// The telegram in a datagram: frame header and trailer are checked and taken off; null where they
/// are wrong or missing. The datagram's size counts, not the length in the header.
std::unique_ptr<clRxTelContainer> unframe(Bytes datagram, std::uint64_t& source);

} // namespace zel
