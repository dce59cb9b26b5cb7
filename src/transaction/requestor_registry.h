#pragma once

#include "transaction.h"

#include <bitset>
#include <cstdint>
#include <memory>
#include <mutex>
#include <set>

namespace zel {

class clRequestorBase;

/// All requestors that were sent and wait for something, process-wide. Whoever holds its lock must
/// not call into the event loop unless it is the loop's thread. The lock is recursive: a requestor
/// may finish while a transaction is handed to it.
class RequestorRegistry {
public:
    using Lock = std::recursive_mutex;

    Lock& lock() { return m_mutex; }

    /// The label for the next requestor: the one after the last, but none that is still in use. A
    /// request may wait for so long that all others come round meanwhile.
    std::uint16_t takeLabel();
    void giveBackLabel(std::uint16_t label);
    /// From now on transactions may be handed to it, on the loop's thread.
    void enter(clRequestorBase& requestor);
    void leave(clRequestorBase& requestor);

    /// Hands a received transaction to the requestor that it belongs to, or drops it.
    void dispatch(const TransactionSource& source, std::unique_ptr<clRxTelContainer> telegram);

    /// Ends everything that waits on a connection, or with kEveryConnection everything that waits.
    void connectionLost(std::uint64_t connectionId);
    static constexpr std::uint64_t kEveryConnection = ~std::uint64_t{0};

private:
    Lock m_mutex;
    std::set<clRequestorBase*> m_requestors;
    std::uint16_t m_lastLabel = 0;
    std::bitset<0x10000> m_labelsInUse;
};

RequestorRegistry& requestorRegistry();

} // namespace zel
