#pragma once

#include "caller_buffer.h"
#include "host_adapters.h"

#include <cstdint>
#include <span>

namespace zel::network {

/// Writes a document about the host's adapters, in the order in which scans count them.
/// ZEL_SRV_BUFFER_TOO_SMALL.
std::int32_t writeAdapterDocument(std::span<const sys::HostAdapter> adapters,
                                  const TextBuffer& buffer);

} // namespace zel::network
