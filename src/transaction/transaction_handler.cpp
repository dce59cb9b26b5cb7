#include "transaction_handler.h"

#include "connection_table.h"
#include "requestor_registry.h"
#include "telegram_container.h"

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

std::shared_ptr<iPayloadPlace>
clTransactionHandlerRequestorOnly::placeFor(std::uint64_t source, Bytes transactionHeader,
                                            std::size_t size, clTcpTelHndlr& connection)
{
    return requestorRegistry().placeFor({source, connection.connectionId(), 0}, transactionHeader,
                                        size);
}

void clTransactionHandlerRequestorOnly::connectionLost(clTcpTelHndlr& connection)
{
    m_connections.erase(connection);
}

void clTransactionHandlerRequestorOnly::datagramArrived(std::uint64_t source,
                                                        std::uint32_t interfaceIndex,
                                                        std::unique_ptr<clRxTelContainer> telegram)
{
    ByteReader in{telegram->payload()};
    const auto header = TransactionHeader::decode(in);
    if (header && header->type == TransactionType::response)
        requestorRegistry().dispatch({source, 0, interfaceIndex}, std::move(telegram));
}

} // namespace zel
