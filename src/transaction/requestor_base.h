#pragma once

#include "event_flag.h"
#include "requestor_registry.h"
#include "timer.h"
#include "transaction.h"

namespace zel {

/// A transaction of the requesting side: its label, its time limit and its one terminal callback.
class clRequestorBase : public iTransaction {
public:
    static constexpr std::uint32_t kAcknowledgeMs = 3000;

    clRequestorBase(const clRequestorBase&) = delete;
    clRequestorBase& operator=(const clRequestorBase&) = delete;

    std::uint64_t target() const { return m_target; }
    std::uint16_t label() const { return m_label.value; }
    /// The connection that it was sent on, 0 when by datagram; under the registry's lock.
    std::uint64_t connectionId() const { return m_connectionId; }

    /// Ends the transaction without a response. What comes after the end is ignored.
    void finish(std::int32_t result);

    /// Says, before the transaction is sent, that the same thread is going to wait() for it, which
    /// may be faster then.
    void expectWait() { m_isWaitExpected = true; }
    /// Waits for the flag that the owner sets when the transaction is over.
    virtual void wait(sys::EventFlag& isOver) { isOver.wait(); }

protected:
    clRequestorBase(std::uint64_t target, iTransactionOwner& owner, sys::EventLoop& loop);

    /// As the first step of sending, under the registry's lock: from then on the loop's thread may
    /// call every function. Nobody finds a request that has not been sent: its owner may still be
    /// under construction, and what comes cannot be an answer.
    void enterRegistry(std::uint64_t connectionId);
    /// Leaves the registry and waits until neither a transaction nor a time-out is being handled.
    /// The destructor of the last class must call it first, without the registry's lock.
    void retire();
    /// On the sending thread, before it sends; false when no timer will ever expire again.
    bool startTimer(std::uint32_t milliseconds);
    /// Inside a callback of the loop's.
    void restartTimer(std::uint32_t milliseconds);
    /// Hands a complete response to the owner; under the registry's lock.
    void deliver(std::unique_ptr<clRxTelContainer> response, const TransactionSource& source);
    /// Hands an answer to the owner and goes on waiting for more; under the registry's lock.
    void deliverOneOfMany(std::unique_ptr<clRxTelContainer> response,
                          const TransactionSource& source);
    bool isFinished() const { return m_isFinished; }
    void logSent(TransactionType type) const;

    bool isWaitExpected() const { return m_isWaitExpected; }

    sys::EventLoop& m_loop;

private:
    struct Label {
        Label() : value(requestorRegistry().takeLabel()) {}
        ~Label() { requestorRegistry().giveBackLabel(value); }
        Label(const Label&) = delete;
        Label& operator=(const Label&) = delete;

        const std::uint16_t value;
    };

    // fixed at construction
    const std::uint64_t m_target;
    iTransactionOwner& m_owner;
    const Label m_label;

    // sending thread only
    bool m_isWaitExpected = false;

    // under the registry's lock
    std::uint64_t m_connectionId = 0;
    bool m_isFinished = false;

    sys::Timer m_timer;
};

} // namespace zel
