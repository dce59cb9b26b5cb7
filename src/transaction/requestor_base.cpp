#include "requestor_base.h"

#include "event_loop.h"
#include "telegram_container.h"
#include "text_stream.h"
#include "transaction_log.h"
#include "ZEL_VR_Framework.h"

namespace zel {

clRequestorBase::clRequestorBase(std::uint64_t target, iTransactionOwner& owner,
                                 sys::EventLoop& loop)
    : m_loop(loop),
      m_target(target),
      m_owner(owner),
      m_label(requestorRegistry().takeLabel()),
      m_timer(loop)
{
}

clRequestorBase::~clRequestorBase()
{
    if (!m_isFinished)
        endLocked(); // nobody else knows it
    if (m_label)
        requestorRegistry().giveBackLabel(*m_label);
}

void clRequestorBase::retire()
{
    {
        const Lock lock{m_mutex};
        if (!m_isFinished)
            endLocked();
    }
    m_timer.stop();
}

std::int32_t clRequestorBase::beginLocked(std::uint64_t connectionId, std::uint32_t milliseconds)
{
    if (!m_label)
        return ZEL_SYS_NO_OBJECT;
    m_timer.set(milliseconds, false, [weak = weak_from_this()](bool expired) {
        if (const auto self = weak.lock())
            self->onTimeout(expired);
    });
    m_connectionId = connectionId;
    requestorRegistry().enter(shared_from_this());
    return m_loop.canRun() ? ZEL_OK : ZEL_CONN_RECEIVE_FAILED;
}

void clRequestorBase::restartTimerLocked(std::uint32_t milliseconds)
{
    m_timer.restart(milliseconds);
}

void clRequestorBase::endLocked()
{
    // The timer may go on: stopping it could wait for the loop, which may wait for this lock.
    m_isFinished = true;
    if (m_label)
        requestorRegistry().endLabel(*m_label);
}

void clRequestorBase::finish(std::int32_t result)
{
    const Lock lock{m_mutex};
    finishLocked(result);
}

void clRequestorBase::finishLocked(std::int32_t result)
{
    if (m_isFinished)
        return;
    endLocked();
    m_owner.completed(result);
}

void clRequestorBase::deliverLocked(std::unique_ptr<clRxTelContainer> response,
                                    const TransactionSource& source)
{
    endLocked();
    m_owner.delivered(std::move(response), source);
}

void clRequestorBase::deliverOneOfManyLocked(std::unique_ptr<clRxTelContainer> response,
                                             const TransactionSource& source)
{
    m_owner.delivered(std::move(response), source);
}

void clRequestorBase::logSent(TransactionType type) const
{
    logTransaction(LogLevel::info, [&] {
        TextStream line;
        line << "Trans   : tx: Dest: " << std::hex << m_target << std::dec
             << "  TransLabel: " << label() << " Type: " << transactionTypeName(type);
        return line.str();
    });
}

} // namespace zel
