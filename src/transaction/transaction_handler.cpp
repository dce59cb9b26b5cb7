#include "transaction_handler.h"

#include "connection_table.h"
#include "requestor_registry.h"

namespace zel {

clTransactionHandlerRequestorOnly::clTransactionHandlerRequestorOnly(clConHndlr& connections)
    : m_connections(connections)
{
    connections.setTransactionHandler(*this);
}

void clTransactionHandlerRequestorOnly::transactionArrived(
    std::uint64_t source, std::unique_ptr<clRxTelContainer> telegram, clTcpTelHndlr& connection)
{
    requestorRegistry().dispatch({source, connection.connectionId(), 0}, std::move(telegram));
}

void clTransactionHandlerRequestorOnly::connectionLost(clTcpTelHndlr& connection)
{
    m_connections.erase(connection);
}

} // namespace zel
