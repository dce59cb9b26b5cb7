#include "requestor_base.h"

#include "event_loop.h"
#include "logger.h"
#include "telegram_container.h"
#include "text_stream.h"
#include "ZEL_VR_Framework.h"

#include <algorithm>
#include <new>

namespace zel {

namespace {

// A length that was only announced is not believed beyond this: the rest grows as data comes.
constexpr std::size_t kFirstAllocation = std::size_t{1} << 20;

} // namespace

clRequestorBase::clRequestorBase(std::uint64_t target, sys::EventLoop& loop)
    : m_loop(loop), m_target(target), m_label(requestorRegistry().takeLabel()), m_timer(loop)
{
}

clRequestorBase::~clRequestorBase()
{
    if (!m_label)
        return;
    if (!m_isOver)
        requestorRegistry().endLabel(*m_label);
    requestorRegistry().giveBackLabel(*m_label);
}

std::int32_t clRequestorBase::sendAndWait(std::shared_ptr<const clTxTelContainer> payload,
                                          std::shared_ptr<iTransactionOwner> owner,
                                          sys::EventFlag& isOver)
{
    const std::int32_t result = send(std::move(payload), std::move(owner));
    if (result == ZEL_OK)
        isOver.wait();
    return result;
}

std::int32_t clRequestorBase::beginLocked(std::shared_ptr<iTransactionOwner> owner,
                                          std::uint64_t connectionId, std::uint32_t milliseconds,
                                          bool isWaitedFor)
{
    if (!m_label)
        return ZEL_SYS_NO_OBJECT;
    try {
        m_timer.set(
            milliseconds, [this] { onTimeout(); }, shared_from_this());
    } catch (const std::bad_alloc&) {
        closeLocked();
        return ZEL_SYS_NO_OBJECT;
    }
    m_connectionId = connectionId;
    requestorRegistry().enter(*m_label, shared_from_this());
    // Asked last: a loop that ends later ends all that is registered.
    if (!m_loop.canRun()) {
        closeLocked();
        return ZEL_CONN_RECEIVE_FAILED;
    }
    m_owner = std::move(owner);
    m_isBeingSent = !isWaitedFor;
    return ZEL_OK;
}

std::int32_t clRequestorBase::endSending(std::int32_t result)
{
    const Lock lock{m_mutex};
    m_isBeingSent = false;
    if (m_endWhileSending)
        return *m_endWhileSending == ZEL_OK ? ZEL_CONN_SEND_FAILED : *m_endWhileSending;
    if (result == ZEL_OK || m_isOver)
        return ZEL_OK;
    closeLocked();
    m_owner.reset();
    return result;
}

void clRequestorBase::closeLocked()
{
    m_isOver = true;
    requestorRegistry().endLabel(*m_label);
    m_timer.letGo();
}

void clRequestorBase::finish(std::int32_t result)
{
    const Lock lock{m_mutex};
    finishLocked(result);
}

void clRequestorBase::finishLocked(std::int32_t result)
{
    if (m_isOver)
        return;
    closeLocked();
    const auto owner = std::move(m_owner);
    if (m_isBeingSent)
        m_endWhileSending = result;
    else
        owner->completed(result);
}

void clRequestorBase::deliverLocked(std::unique_ptr<clRxTelContainer> response,
                                    const TransactionSource& source)
{
    if (!m_isOver)
        closeLocked();
    if (const auto owner = std::move(m_owner))
        owner->delivered(std::move(response), source);
}

void clRequestorBase::deliverOneOfManyLocked(std::unique_ptr<clRxTelContainer> response,
                                             const TransactionSource& source)
{
    m_owner->delivered(std::move(response), source);
}

std::unique_ptr<clRxTelContainer> clRequestorBase::makeResponseLocked(std::size_t size) const
{
    auto response = m_owner->placeFor(size);
    if (!response)
        response = std::make_unique<clRxTelContainer>(std::min(size, kFirstAllocation));
    return response;
}

void clRequestorBase::detach()
{
    std::shared_ptr<iTransactionOwner> owner; // goes after the lock
    const Lock lock{m_mutex};
    owner.swap(m_owner);
    if (owner && !m_isOver)
        closeLocked();
}

void clRequestorBase::logSent(TransactionType type) const
{
    logTransaction(LogLevel::info, [&] {
        TextStream line;
        line << "Trans   : tx: Dest: " << std::hex << m_target << std::dec
             << "  TransLabel: " << label().value_or(0) << " Type: " << transactionTypeName(type);
        return line.str();
    });
}

} // namespace zel
