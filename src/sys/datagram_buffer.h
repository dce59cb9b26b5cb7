#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace zel::sys {

/// One received datagram; larger ones than it holds do not exist.
struct DatagramBuffer {
    std::array<std::byte, 65536> data;
    std::size_t size = 0;
    std::uint32_t interfaceIndex = 0; ///< of the adapter that it came in by; 0 when unknown
};

} // namespace zel::sys
