#pragma once

#include "transaction_header.h"

#include <cstdint>
#include <memory>

namespace zel {

class clRxTelContainer;
class clTxTelContainer;

/// Where a received transaction came from.
struct TransactionSource {
    std::uint64_t uuid = 0;
    std::uint64_t connectionId = 0;   // 0: it came as a datagram
    std::uint32_t interfaceIndex = 0; // of the adapter, for datagrams
};

/// Gets what comes of a transaction. The calls come on whatever thread learns of it, under the
/// transaction's lock: they are short, take leaf locks only and ask nothing of the transaction. The
/// transaction holds its owner until the last of them is over.
class iTransactionOwner {
public:
    /// The whole response, with the transaction header taken off.
    virtual void delivered(std::unique_ptr<clRxTelContainer> response,
                           const TransactionSource& source) = 0;
    /// Where a response of so many bytes is put together; null: in memory of its own. The owner has
    /// it back when he is told the end.
    virtual std::unique_ptr<clRxTelContainer> placeFor(std::size_t) { return nullptr; }
    /// The transaction has ended without a response.
    virtual void completed(std::int32_t result) = 0;
    virtual ~iTransactionOwner() = default;
};

} // namespace zel
