#include "subscription_table.h"

#include "logger.h"
#include "measured_values.h"
#include "method_call.h"
#include "request_document.h"
#include "text_stream.h"
#include "ZEL_VR_Framework.h"

#include <algorithm>
#include <string>

namespace zel {

namespace {

void addText(pugi::xml_node parent, const char* name, const std::string& text)
{
    parent.append_child(name).append_child(pugi::node_pcdata).set_value(text.c_str());
}

std::string serialise(const pugi::xml_document& document)
{
    TextStream text;
    text << kXmlDeclaration;
    document.save(text, "", pugi::format_raw | pugi::format_no_declaration, pugi::encoding_utf8);
    return text.str();
}

void logFinish(std::uint64_t uuid, std::int32_t result)
{
    if (!logger().isOn(LogCategory::measurement))
        return;
    TextStream line;
    line << "ZEL_XDAQ_FinishSubscription (UUID=" << std::hex << uuid << std::dec
         << ") Result=" << result;
    logger().write(LogLevel::info, LogCategory::measurement, line.str());
}

} // namespace

std::shared_ptr<SubscriptionTable::Entry> SubscriptionTable::find(std::uint64_t uuid)
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_entries.find(uuid);
    return found == m_entries.end() ? nullptr : found->second;
}

std::shared_ptr<SubscriptionTable::Entry> SubscriptionTable::findOrAdd(std::uint64_t uuid)
{
    const std::lock_guard lock(m_mutex);
    if (const auto found = m_entries.find(uuid); found != m_entries.end())
        return found->second;
    if (m_entries.size() == kMostSubscriptions)
        forgetLocked(m_byAge.begin()->second);
    const auto entry = std::make_shared<Entry>(m_opened++);
    const auto known = m_entries.emplace(uuid, entry).first;
    try {
        m_byAge.emplace(entry->openedAs, uuid);
    } catch (...) {
        m_entries.erase(known);
        throw;
    }
    return entry;
}

void SubscriptionTable::open(std::uint64_t uuid)
{
    const std::shared_ptr<Entry> entry = findOrAdd(uuid);
    const std::lock_guard lock(entry->mutex);
    entry->document.append_child("SrvParams");
}

std::int32_t SubscriptionTable::addSignal(std::uint64_t uuid, const char* reference,
                                          std::uint16_t userSignalId, std::uint64_t blockSize)
{
    const std::shared_ptr<Entry> entry = find(uuid);
    if (!entry)
        return ZEL_FAILED;
    const std::lock_guard lock(entry->mutex);
    pugi::xml_node list = entry->document.document_element();
    if (!list)
        return ZEL_DAQ_SUBSCRIPTION_STATE;
    ++entry->signalCount;
    pugi::xml_node signal = list.append_child("Signal");
    signal.append_attribute("address").set_value(
        ("Sig" + std::to_string(entry->signalCount)).c_str());
    addText(signal, "Name", reference);
    addText(signal, "UserSigId", std::to_string(userSignalId));
    addText(signal, "BlockSize", std::to_string(std::min(blockSize, kLargestBlock)));
    return ZEL_OK;
}

std::int32_t SubscriptionTable::finish(std::uint64_t uuid, std::uint64_t startTime,
                                       const RequestPath& requests)
{
    const std::shared_ptr<Entry> entry = find(uuid);
    if (!entry)
        return ZEL_FAILED;
    const std::lock_guard lock(entry->mutex);
    const pugi::xml_node list = entry->document.document_element();
    if (!list)
        return ZEL_DAQ_SUBSCRIPTION_STATE;
    addText(list, "StartTime", std::to_string(startTime));
    std::string document = serialise(entry->document);
    entry->signalCount = 0;
    entry->document.reset();
    const std::int32_t result =
        send(requests, {uuid, wire::MeasurementMethod::subscribe}, std::move(document));
    logFinish(uuid, result);
    return result;
}

std::int32_t SubscriptionTable::clear(std::uint64_t uuid, const RequestPath& requests)
{
    const std::int32_t result =
        send(requests, {uuid, wire::MeasurementMethod::unsubscribe}, RequestDocument{}.take());
    erase(uuid);
    return result;
}

void SubscriptionTable::erase(std::uint64_t uuid)
{
    const std::lock_guard lock(m_mutex);
    forgetLocked(uuid);
}

void SubscriptionTable::forgetLocked(std::uint64_t uuid)
{
    const auto found = m_entries.find(uuid);
    if (found == m_entries.end())
        return;
    m_byAge.erase(found->second->openedAs);
    m_entries.erase(found);
}

} // namespace zel
