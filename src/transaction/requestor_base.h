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
///
/// Its lock guards what comes of it: a telegram is handled, a time-out told and the owner called
/// back with it held. Whoever holds it takes leaf locks only, and sends nothing.
class clRequestorBase : public iTransaction, public std::enable_shared_from_this<clRequestorBase> {
public:
    static constexpr std::uint32_t kAcknowledgeMs = 3000;

    ~clRequestorBase() override;
    clRequestorBase(const clRequestorBase&) = delete;
    clRequestorBase& operator=(const clRequestorBase&) = delete;

    std::uint64_t target() const { return m_target; }
    /// 0 when none was left; then nothing can be sent.
    std::uint16_t label() const { return m_label.value_or(0); }
    /// The connection that it was sent on, 0 when by datagram; fixed before anybody can find it.
    std::uint64_t connectionId() const { return m_connectionId; }

    /// Ends the transaction without a response. What comes after the end is ignored.
    void finish(std::int32_t result);
    /// For the owner who leaves: once it has returned on another thread, the owner is not being
    /// called back and will not be. Waits for a time-out that is being told; without any lock of
    /// the transactions.
    void retire();

    /// Says, before the transaction is sent, that the same thread is going to wait() for it, which
    /// may be faster then.
    void expectWait() { m_isWaitExpected = true; }
    /// Waits for the flag that the owner sets when the transaction is over.
    virtual void wait(sys::EventFlag& isOver) { isOver.wait(); }

protected:
    using Lock = std::unique_lock<RecursiveMutex>;

    clRequestorBase(std::uint64_t target, iTransactionOwner& owner, sys::EventLoop& loop);

    Lock lock() { return Lock{m_mutex}; }
    /// The last step before the first telegram leaves: from now on answers find the transaction,
    /// and it ends by itself when its time is over. A code when it cannot be.
    std::int32_t beginLocked(std::uint64_t connectionId, std::uint32_t milliseconds);
    void restartTimerLocked(std::uint32_t milliseconds);
    void finishLocked(std::int32_t result);
    /// Hands a complete response to the owner.
    void deliverLocked(std::unique_ptr<clRxTelContainer> response, const TransactionSource& source);
    /// Hands an answer to the owner and goes on waiting for more.
    void deliverOneOfManyLocked(std::unique_ptr<clRxTelContainer> response,
                                const TransactionSource& source);
    bool isFinishedLocked() const { return m_isFinished; }
    void logSent(TransactionType type) const;

    bool isWaitExpected() const { return m_isWaitExpected; }

private:
    /// Whatever comes for it from now on is nobody's.
    void endLocked();

    // fixed at construction
    sys::EventLoop& m_loop;
    const std::uint64_t m_target;
    iTransactionOwner& m_owner;
    const std::optional<std::uint16_t> m_label;

    // sending thread only
    bool m_isWaitExpected = false;

    // written before it enters the registry
    std::uint64_t m_connectionId = 0;

    // under m_mutex
    RecursiveMutex m_mutex; // an owner may leave while he is called back
    bool m_isFinished = false;
    sys::Timer m_timer;
};

} // namespace zel
