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

/// One request and its response, as the registry and the event loop see it.
class iTransaction {
public:
    /// Does this received transaction belong here?
    virtual bool matches(const TransactionSource& source,
                         const TransactionHeader& header) const = 0;
    virtual ~iTransaction() = default;
    /// Starts the transaction. ZEL_OK: its owner is called back with how it ends, perhaps before
    /// this returns, but not from inside it. A code: it did not start, and he is not called.
    virtual std::int32_t send(std::shared_ptr<const clTxTelContainer> payload,
                              std::shared_ptr<iTransactionOwner> owner) = 0;
    /// Only an expired time counts, a cancelled one does not.
    virtual void onTimeout(bool expired) = 0;
    /// Takes a received transaction that matched; its header is taken off already.
    virtual void receive(TransactionType type, std::unique_ptr<clRxTelContainer> telegram,
                         const TransactionSource& source) = 0;
};

} // namespace zel
