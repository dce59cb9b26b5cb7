#pragma once

#include "event_flag.h"
#include "mutex.h"
#include "requestor_registry.h"
#include "timer.h"
#include "transaction.h"

#include <memory>
#include <mutex>
#include <optional>

namespace zel {

/// A transaction of the requesting side: its label, its time limit and its one terminal callback.
/// Made by an iRequestorContext; used once. It is shared by its owner, by the registry and its
/// timer while it is under way, and by whoever is just calling it.
///
/// Its lock guards what comes of it: a telegram is handled, a time-out told and the owner called
/// back with it held. Whoever holds it takes leaf locks only, and sends nothing.
class clRequestorBase : public std::enable_shared_from_this<clRequestorBase> {
public:
    static constexpr std::uint32_t kAcknowledgeMs = 3000;

    virtual ~clRequestorBase();
    clRequestorBase(const clRequestorBase&) = delete;
    clRequestorBase& operator=(const clRequestorBase&) = delete;

    std::uint64_t target() const { return m_target; }
    /// Nothing when each label had a request under way; then it cannot be sent.
    std::optional<std::uint16_t> label() const { return m_label; }
    /// The connection that it was sent on, 0 when by datagram; fixed before anybody can find it.
    std::uint64_t connectionId() const { return m_connectionId; }

    /// Does this received transaction belong here?
    virtual bool matches(const TransactionSource& source,
                         const TransactionHeader& header) const = 0;
    /// Starts the transaction. ZEL_OK: its owner is called back with how it ends, perhaps before
    /// this returns, but not from inside it. A code: it did not start, and he is not called.
    virtual std::int32_t send(std::shared_ptr<const clTxTelContainer> payload,
                              std::shared_ptr<iTransactionOwner> owner) = 0;
    virtual void onTimeout() = 0;
    /// Takes a received transaction that matched; its header is taken off already.
    virtual void receive(TransactionType type, std::unique_ptr<clRxTelContainer> telegram,
                         const TransactionSource& source) = 0;

    /// Sends, and waits until the owner, called back, has set the flag. The same codes as send().
    virtual std::int32_t sendAndWait(std::shared_ptr<const clTxTelContainer> payload,
                                     std::shared_ptr<iTransactionOwner> owner,
                                     sys::EventFlag& isOver);

    /// Where the payload of a telegram that matched is to be read to; null: receive() takes it.
    virtual std::shared_ptr<iPayloadPlace> placeFor(TransactionType, std::size_t,
                                                    const TransactionSource&)
    {
        return nullptr;
    }

    /// Ends the transaction without a response. What comes after the end is ignored.
    void finish(std::int32_t result);
    /// The owner leaves: once it has returned, he is not being called back and will not be. Not
    /// from inside such a call.
    void detach();

protected:
    using Lock = std::unique_lock<Mutex>;

    clRequestorBase(std::uint64_t target, sys::EventLoop& loop);

    Lock lock() { return Lock{m_mutex}; }
    /// The last step before the first telegram leaves: from now on answers find the transaction,
    /// and it ends by itself when its time is over. A code when that cannot be. The owner of one
    /// that is waited for is called back with its end also while it is being sent.
    std::int32_t beginLocked(std::shared_ptr<iTransactionOwner> owner, std::uint64_t connectionId,
                             std::uint32_t milliseconds, bool isWaitedFor = false);
    /// What send() answers once the first telegram has left, or else with the code that it could
    /// not leave for. A transaction that ends before is not told to the owner by a call, but here.
    std::int32_t endSending(std::int32_t result);
    void restartTimerLocked(std::uint32_t milliseconds) { m_timer.restart(milliseconds); }
    /// Whether the expired time was restarted before the lock could be had.
    bool isTimeLeftLocked() const { return m_timer.isArmed(); }
    void finishLocked(std::int32_t result);
    /// Whatever comes from now on is nobody's; nothing is told to the owner but by deliverLocked().
    virtual void closeLocked();
    /// Hands a complete response to the owner.
    void deliverLocked(std::unique_ptr<clRxTelContainer> response, const TransactionSource& source);
    /// Hands an answer to the owner and goes on waiting for more.
    void deliverOneOfManyLocked(std::unique_ptr<clRxTelContainer> response,
                                const TransactionSource& source);
    bool isOverLocked() const { return m_isOver; }
    /// The owner's place for a response, or one that can grow to what is announced.
    std::unique_ptr<clRxTelContainer> makeResponseLocked(std::size_t size) const;
    void logSent(TransactionType type) const;

private:
    // fixed at construction
    sys::EventLoop& m_loop;
    const std::uint64_t m_target;
    const std::optional<std::uint16_t> m_label;

    // written before it enters the registry
    std::uint64_t m_connectionId = 0;

    // under m_mutex
    Mutex m_mutex;
    std::shared_ptr<iTransactionOwner> m_owner; // null before, and once he was told the end
    bool m_isOver = false;
    bool m_isBeingSent = false;
    std::optional<std::int32_t> m_endWhileSending;
    sys::Timer m_timer; // holds this object while it is set
};

} // namespace zel
