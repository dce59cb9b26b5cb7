#include "requestor_registry.h"

#include "logger.h"
#include "process_wide.h"
#include "requestor_base.h"
#include "telegram_container.h"
#include "text_handler.h"
#include "text_stream.h"
#include "ZEL_VR_Framework.h"

namespace zel {

namespace {

void logReceived(const TransactionSource& source, const TransactionHeader& header)
{
    logTransaction(LogLevel::info, [&] {
        TextStream line;
        line << "Trans   : rx: Src: " << std::hex << source.uuid << " Dest: " << header.destination
             << std::dec << "  TransLabel: " << header.label
             << " Type: " << transactionTypeName(header.type);
        return line.str();
    });
}

void logDropped(std::int32_t code)
{
    logTransaction(LogLevel::warning, [&] {
        return std::string{"clRequestorBase::receiveResponseSegment: "} + logText(code) + " (" +
               std::to_string(code) + ")";
    });
}

} // namespace

std::optional<std::uint16_t> clRequestorRegistry::takeLabel()
{
    const std::lock_guard lock{m_mutex};
    const auto next = static_cast<std::uint16_t>(m_lastLabel + 1);
    auto label = m_held.nextMissing(next);
    if (!label)
        label = m_underWay.nextMissing(next);
    if (!label)
        return {};
    m_held.add(*label);
    m_underWay.add(*label);
    ++m_slots[*label].holders;
    m_lastLabel = *label;
    return label;
}

void clRequestorRegistry::endLabel(std::uint16_t label)
{
    // Declared before the lock: what the requestor owns is not taken apart under it.
    std::shared_ptr<clRequestorBase> ended;
    const std::lock_guard lock{m_mutex};
    m_underWay.remove(label);
    ended.swap(m_slots[label].requestor);
}

void clRequestorRegistry::giveBackLabel(std::uint16_t label)
{
    const std::lock_guard lock{m_mutex};
    if (--m_slots[label].holders == 0)
        m_held.remove(label);
}

void clRequestorRegistry::enter(std::uint16_t label,
                                const std::shared_ptr<clRequestorBase>& requestor)
{
    const std::lock_guard lock{m_mutex};
    m_slots[label].requestor = requestor;
}

std::shared_ptr<clRequestorBase> clRequestorRegistry::find(std::uint16_t label)
{
    const std::lock_guard lock{m_mutex};
    return m_slots[label].requestor;
}

std::shared_ptr<clRequestorBase> clRequestorRegistry::next(std::size_t& label)
{
    const std::lock_guard lock{m_mutex};
    while (const auto found = m_underWay.next(label)) {
        label = *found + std::size_t{1};
        if (m_slots[*found].requestor)
            return m_slots[*found].requestor;
    }
    return {};
}

void clRequestorRegistry::dispatch(const TransactionSource& source,
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
    const std::shared_ptr<clRequestorBase> requestor = find(header->label);
    if (requestor && requestor->matches(source, *header))
        requestor->receive(header->type, std::move(telegram), source);
    else
        logDropped(ZEL_TRANS_NOT_FOUND);
}

std::shared_ptr<iPayloadPlace> clRequestorRegistry::placeFor(const TransactionSource& source,
                                                             Bytes transactionHeader,
                                                             std::size_t size)
{
    ByteReader in{transactionHeader};
    const auto header = TransactionHeader::decode(in);
    const std::shared_ptr<clRequestorBase> requestor = header ? find(header->label) : nullptr;
    if (!requestor || !requestor->matches(source, *header))
        return nullptr;
    auto place = requestor->placeFor(header->type, size, source);
    if (place)
        logReceived(source, *header);
    return place;
}

void clRequestorRegistry::connectionLost(std::uint64_t connectionId)
{
    std::size_t label = 0;
    while (const auto requestor = next(label))
        if (connectionId == kEveryConnection || requestor->connectionId() == connectionId)
            requestor->finish(ZEL_CONN_RECEIVE_FAILED);
}

clRequestorRegistry& requestorRegistry()
{
    static ProcessWide<clRequestorRegistry> registry;
    return *registry;
}

} // namespace zel
