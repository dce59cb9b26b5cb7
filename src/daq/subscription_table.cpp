#include "subscription_table.h"

#include "logger.h"
#include "request_document.h"
#include "service_call.h"
#include "text_stream.h"
#include "xml_building.h"
#include "ZEL_VR_Framework.h"

#include <algorithm>
#include <exception>
#include <string>

namespace zel {

namespace {

void addText(pugi::xml_node parent, const char* name, const char* text)
{
    appendText(appendElement(parent, name), text);
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
    logger().write(LogLevel::info, LogCategory::measurement, [&] {
        TextStream line;
        line << "ZEL_XDAQ_FinishSubscription (UUID=" << std::hex << uuid << std::dec
             << ") Result=" << result;
        return line.str();
    });
}

} // namespace

/// Empties a subscription at the end of its scope, come what may.
struct clSubscriptionTable::Emptied {
    Entry& entry;

    ~Emptied()
    {
        entry.signalCount = 0;
        entry.document.reset();
    }
};

std::shared_ptr<clSubscriptionTable::Entry> clSubscriptionTable::find(std::uint64_t uuid)
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_entries.find(uuid);
    return found == m_entries.end() ? nullptr : found->second;
}

std::shared_ptr<clSubscriptionTable::Entry> clSubscriptionTable::findOrAdd(std::uint64_t uuid)
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

void clSubscriptionTable::open(std::uint64_t uuid)
{
    const std::shared_ptr<Entry> entry = findOrAdd(uuid);
    const std::lock_guard lock(entry->mutex);
    appendElement(entry->document, "SrvParams");
}

std::int32_t clSubscriptionTable::addSignal(std::uint64_t uuid, const char* reference,
                                            std::uint16_t userSignalId, std::uint64_t blockSize)
{
    const std::shared_ptr<Entry> entry = find(uuid);
    if (!entry)
        return ZEL_FAILED;
    const std::lock_guard lock(entry->mutex);
    pugi::xml_node list = entry->document.document_element();
    if (!list)
        return ZEL_DAQ_SUBSCRIPTION_STATE;
    pugi::xml_node signal = appendElement(list, "Signal");
    try {
        appendAttribute(signal, "address",
                        ("Sig" + std::to_string(entry->signalCount + 1)).c_str());
        addText(signal, "Name", reference);
        addText(signal, "UserSigId", std::to_string(userSignalId).c_str());
        addText(signal, "BlockSize", std::to_string(std::min(blockSize, kLargestBlock)).c_str());
    } catch (const std::exception&) {
        list.remove_child(signal);
        throw;
    }
    ++entry->signalCount;
    return ZEL_OK;
}

std::int32_t clSubscriptionTable::finish(const RemoteModule& module, std::uint64_t startTime)
{
    const std::shared_ptr<Entry> entry = find(module.uuid);
    if (!entry)
        return ZEL_FAILED;
    const std::lock_guard lock(entry->mutex);
    const pugi::xml_node list = entry->document.document_element();
    if (!list)
        return ZEL_DAQ_SUBSCRIPTION_STATE;
    const Emptied emptied{*entry};
    addText(list, "StartTime", std::to_string(startTime).c_str());
    const std::int32_t result =
        send(module, wire::MeasurementMethod::subscribe, serialise(entry->document));
    logFinish(module.uuid, result);
    return result;
}

std::int32_t clSubscriptionTable::clear(const RemoteModule& module)
{
    const std::int32_t result =
        send(module, wire::MeasurementMethod::unsubscribe, clRequestDocument{}.take());
    erase(module.uuid);
    return result;
}

void clSubscriptionTable::erase(std::uint64_t uuid)
{
    const std::lock_guard lock(m_mutex);
    forgetLocked(uuid);
}

void clSubscriptionTable::forgetLocked(std::uint64_t uuid)
{
    const auto found = m_entries.find(uuid);
    if (found == m_entries.end())
        return;
    m_byAge.erase(found->second->openedAs);
    m_entries.erase(found);
}

} // namespace zel
