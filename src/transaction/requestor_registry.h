#pragma once

#include "label_set.h"
#include "mutex.h"
#include "transaction.h"
#include "transaction_listener.h"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>

namespace zel {

class clRequestorBase;

/// All requestors that were sent and wait for something, process-wide, by their labels.
///
/// Its lock is a leaf: it is left before a requestor is asked for anything. Whoever comes through
/// here holds the requestor that he gets, so that it outlives the call.
class clRequestorRegistry {
public:
    /// The label for the next requestor: the one after the last, but never one that is taken: a
    /// request may wait for so long that all others come round meanwhile. When all are taken, one
    /// whose request is over, though its owner keeps it, serves again; nothing when each has a
    /// request under way.
    std::optional<std::uint16_t> takeLabel();
    /// The request is over: transactions with this label are nobody's. Once for each label taken.
    void endLabel(std::uint16_t label);
    /// Nobody keeps the request that had it any more. After endLabel().
    void giveBackLabel(std::uint16_t label);

    /// From now on transactions may be handed to it, until its label is ended.
    void enter(std::uint16_t label, const std::shared_ptr<clRequestorBase>& requestor);

    /// Hands a received transaction to the requestor that it belongs to, or drops it.
    void dispatch(const TransactionSource& source, std::unique_ptr<clRxTelContainer> telegram);

    /// Where what comes behind the header of a long transaction is to be read to; null where that
    /// is for dispatch().
    std::shared_ptr<iPayloadPlace> placeFor(const TransactionSource& source,
                                            Bytes transactionHeader, std::size_t size);

    /// Ends everything that waits on a connection, or with kEveryConnection everything that waits.
    void connectionLost(std::uint64_t connectionId);
    static constexpr std::uint64_t kEveryConnection = ~std::uint64_t{0};

private:
    struct Slot {
        std::shared_ptr<clRequestorBase> requestor; // null before it is sent
        std::uint16_t holders = 0;
    };

    std::shared_ptr<clRequestorBase> find(std::uint16_t label);
    /// The next one whose label is not below `label`, which then moves past it; null after the
    /// last.
    std::shared_ptr<clRequestorBase> next(std::size_t& label);

    // under m_mutex
    Mutex m_mutex;
    std::array<Slot, 0x10000> m_slots;
    LabelSet m_held;
    LabelSet m_underWay; // taken and not ended yet
    std::uint16_t m_lastLabel = 0;
};

clRequestorRegistry& requestorRegistry();

} // namespace zel
