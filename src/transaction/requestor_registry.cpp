#include "requestor_registry.h"

#include "logger.h"
#include "process_wide.h"
#include "requestor_base.h"
#include "spinning_lock.h"
#include "telegram_container.h"
#include "text_handler.h"
#include "ZEL_VR_Framework.h"

#include <sstream>
#include <vector>

namespace zel {

namespace {

void logReceived(const TransactionSource& source, const TransactionHeader& header)
{
    if (!logger().isOn(LogCategory::transactions))
        return;
    std::ostringstream line;
    line << "Trans   : rx: Src: " << std::hex << source.uuid << " Dest: " << header.destination
         << std::dec << "  TransLabel: " << header.label
         << " Type: " << transactionTypeName(header.type);
    logger().write(LogLevel::info, LogCategory::transactions, line.str());
}

void logDropped(std::int32_t code)
{
    logger().write(LogLevel::warning, LogCategory::transactions,
                   std::string{"clRequestorBase::receiveResponseSegment: "} + logText(code) + " (" +
                       std::to_string(code) + ")");
}

} // namespace

std::uint16_t RequestorRegistry::takeLabel()
{
    const sys::SpinningLock lock{m_mutex};
    ++m_lastLabel;
    // Where all are in use one has to serve twice.
    for (std::size_t tried = 1; m_labelsInUse[m_lastLabel] && tried < m_labelsInUse.size(); ++tried)
        ++m_lastLabel;
    m_labelsInUse.set(m_lastLabel);
    return m_lastLabel;
}

void RequestorRegistry::giveBackLabel(std::uint16_t label)
{
    const sys::SpinningLock lock{m_mutex};
    m_labelsInUse.reset(label);
}

void RequestorRegistry::enter(clRequestorBase& requestor)
{
    const sys::SpinningLock lock{m_mutex};
    m_requestors.insert(&requestor);
}

void RequestorRegistry::leave(clRequestorBase& requestor)
{
    const sys::SpinningLock lock{m_mutex};
    m_requestors.erase(&requestor);
}

void RequestorRegistry::dispatch(const TransactionSource& source,
                                 std::unique_ptr<clRxTelContainer> telegram)
{
    ByteReader in{telegram->payload()};
    const auto header = TransactionHeader::decode(in);
    if (!header) {
        logDropped(ZEL_TRANS_HEADER_ERROR);
        return;
    }
    telegram->takeOff(TransactionHeader::kSize);
    logReceived(source, *header);
    {
        const sys::SpinningLock lock{m_mutex};
        for (clRequestorBase* const requestor : m_requestors) {
            if (!requestor->matches(source, *header))
                continue;
            // The set may be another one afterwards.
            requestor->receive(header->type, std::move(telegram), source);
            return;
        }
    }
    logDropped(ZEL_TRANS_NOT_FOUND);
}

void RequestorRegistry::connectionLost(std::uint64_t connectionId)
{
    const sys::SpinningLock lock{m_mutex};
    // A copy: whoever finishes leaves the set. The lock keeps all of them alive.
    const std::vector<clRequestorBase*> waiting{m_requestors.begin(), m_requestors.end()};
    for (clRequestorBase* const requestor : waiting) {
        if (connectionId == kEveryConnection || requestor->connectionId() == connectionId)
            requestor->finish(ZEL_CONN_RECEIVE_FAILED);
    }
}

RequestorRegistry& requestorRegistry()
{
    static ProcessWide<RequestorRegistry> registry;
    return *registry;
}

} // namespace zel
