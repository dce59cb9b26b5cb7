#pragma once

#include "transaction_listener.h"

namespace zel {

class clConHndlr;

/// Brings what happens on the connections to the requestors. The library only asks, it serves no
/// requests from modules.
class clTransactionHandlerRequestorOnly final : public iTransactionHandler,
                                                public iDatagramHandler {
public:
    explicit clTransactionHandlerRequestorOnly(clConHndlr& connections);

    void transactionArrived(std::uint64_t source, std::unique_ptr<clRxTelContainer> telegram,
                            clTcpTelHndlr& connection) override;
    std::shared_ptr<iPayloadPlace> placeFor(std::uint64_t source, Bytes transactionHeader,
                                            std::size_t size, clTcpTelHndlr& connection) override;
    /// The connection leaves the table and what waits on it ends.
    void connectionLost(clTcpTelHndlr& connection) override;
    /// Responses only: what others ask each other is none of our business.
    void datagramArrived(std::uint64_t source, std::uint32_t interfaceIndex,
                         std::unique_ptr<clRxTelContainer> telegram) override;

private:
    clConHndlr& m_connections;
};

} // namespace zel
