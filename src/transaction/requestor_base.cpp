#include "requestor_base.h"

#include "event_loop.h"
#include "logger.h"
#include "spinning_lock.h"
#include "telegram_container.h"

#include <cassert>
#include <sstream>

namespace zel {

clRequestorBase::clRequestorBase(std::uint64_t target, iTransactionOwner& owner,
                                 sys::EventLoop& loop)
    : m_loop(loop), m_target(target), m_owner(owner), m_timer(loop)
{
}

void clRequestorBase::enterRegistry(std::uint64_t connectionId)
{
    m_connectionId = connectionId;
    requestorRegistry().enter(*this);
}

void clRequestorBase::retire()
{
    {
        const sys::SpinningLock lock{requestorRegistry().lock()};
        m_isFinished = true;
        requestorRegistry().leave(*this);
    }
    m_timer.stop();
}

bool clRequestorBase::startTimer(std::uint32_t milliseconds)
{
    m_timer.set(milliseconds, false, [this](bool expired) { onTimeout(expired); });
    return m_loop.canRun();
}

void clRequestorBase::restartTimer(std::uint32_t milliseconds)
{
    assert(m_loop.isDispatching());
    m_timer.restart(milliseconds);
}

void clRequestorBase::finish(std::int32_t result)
{
    const sys::SpinningLock lock{requestorRegistry().lock()};
    if (m_isFinished)
        return;
    // The timer may go on: stopping it could wait for the loop, which may wait for this lock.
    m_isFinished = true;
    requestorRegistry().leave(*this);
    m_owner.completed(result);
}

void clRequestorBase::deliver(std::unique_ptr<clRxTelContainer> response,
                              const TransactionSource& source)
{
    m_isFinished = true;
    requestorRegistry().leave(*this);
    m_owner.delivered(std::move(response), source);
}

void clRequestorBase::deliverOneOfMany(std::unique_ptr<clRxTelContainer> response,
                                       const TransactionSource& source)
{
    m_owner.delivered(std::move(response), source);
}

void clRequestorBase::logSent(TransactionType type) const
{
    if (!logger().isOn(LogCategory::transactions))
        return;
    std::ostringstream line;
    line << "Trans   : tx: Dest: " << std::hex << m_target << std::dec
         << "  TransLabel: " << label() << " Type: " << transactionTypeName(type);
    logger().write(LogLevel::info, LogCategory::transactions, line.str());
}

} // namespace zel
