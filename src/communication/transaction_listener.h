#pragma once

#include <cstdint>
#include <memory>

namespace zel {

class clRxTelContainer;
class clTcpTelHndlr;

/// Where a connection reports what happens on it.
class iTransactionHandler {
public:
    virtual ~iTransactionHandler() = default;

    /// A transaction has arrived whole. `source` is what the frame says, the connection is the one
    /// that it came on. On the loop's thread.
    virtual void transactionArrived(std::uint64_t source,
                                    std::unique_ptr<clRxTelContainer> telegram,
                                    clTcpTelHndlr& connection) = 0;
    /// The connection is of no use any more. On the loop's thread, from inside the connection's own
    /// callback, or on the thread whose send was broken off.
    virtual void connectionLost(clTcpTelHndlr& connection) = 0;
};

} // namespace zel
