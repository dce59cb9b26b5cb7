#pragma once

#include <cstdint>
#include <memory>

namespace zel {

class clRxTelContainer;

/// Where the telegrams go that arrive as datagrams.
class iDatagramHandler {
public:
    virtual ~iDatagramHandler() = default;

    /// A datagram with a valid frame; the container holds what is between header and trailer. On
    /// the event loop's thread.
    virtual void datagramArrived(std::uint64_t source, std::uint32_t interfaceIndex,
                                 std::unique_ptr<clRxTelContainer> telegram) = 0;
};

} // namespace zel
