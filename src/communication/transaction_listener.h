#pragma once

#include "byte_cursor.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace zel {

class clRxTelContainer;
class clTcpTelHndlr;

/// Where what follows the transaction header of one long telegram is read to, without a copy.
class iPayloadPlace {
public:
    virtual ~iPayloadPlace() = default;

    using Read = std::function<int(MutableBytes)>;

    /// Lets `read` fill the memory for what belongs at `offset`, as far as that is in one piece,
    /// and returns what that returns; nothing when nobody waits for it any more.
    virtual std::optional<int> readAt(std::size_t offset, const Read& read) = 0;
    /// All of it is there, and the telegram was good.
    virtual void arrived() = 0;
};

/// Where a connection reports what happens on it. Inside the connection's own callback, one call
/// after the other, but for connectionLost.
class iTransactionHandler {
public:
    virtual ~iTransactionHandler() = default;

    /// A transaction has arrived whole. `source` is what the frame says, the connection is the one
    /// that it came on.
    virtual void transactionArrived(std::uint64_t source,
                                    std::unique_ptr<clRxTelContainer> telegram,
                                    clTcpTelHndlr& connection) = 0;
    /// A long telegram has begun, and `size` bytes come behind its transaction header. Null: it is
    /// to arrive whole.
    virtual std::shared_ptr<iPayloadPlace> placeFor(std::uint64_t, Bytes, std::size_t,
                                                    clTcpTelHndlr&)
    {
        return nullptr;
    }
    /// The connection is of no use any more. From inside its callback, or on the thread whose send
    /// was broken off.
    virtual void connectionLost(clTcpTelHndlr& connection) = 0;
};

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
