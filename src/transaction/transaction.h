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

/// One request and its response, as the registry and the event loop see it.
class iTransaction {
public:
    /// Does this received transaction belong here?
    virtual bool matches(const TransactionSource& source,
                         const TransactionHeader& header) const = 0;
    virtual ~iTransaction() = default;
    /// Starts the transaction. Once it has returned, or a callback has come, the caller may destroy
    /// the object, also while this call is still returning.
    virtual void send(std::shared_ptr<const clTxTelContainer> payload) = 0;
    /// Only an expired time counts, a cancelled one does not.
    virtual void onTimeout(bool expired) = 0;
    /// Takes a received transaction that matched; its header is taken off already.
    virtual void receive(TransactionType type, std::unique_ptr<clRxTelContainer> telegram,
                         const TransactionSource& source) = 0;
};

/// Gets the outcome of a transaction. Both calls may come on the event loop's thread, `completed`
/// also on the one that sends or disconnects; both under the transaction's lock, so they
/// must be short and take leaf locks only.
class iTransactionOwner {
public:
    virtual ~iTransactionOwner() = default;

    /// The transaction has ended without a response.
    virtual void completed(std::int32_t result) = 0;
    /// The whole response, with the transaction header taken off.
    virtual void delivered(std::unique_ptr<clRxTelContainer> response,
                           const TransactionSource& source) = 0;
};

} // namespace zel
