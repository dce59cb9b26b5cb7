#include "phonebook.h"

#include "cut_text.h"
#include "response_document.h"

namespace zel {

namespace {

void shorten(std::string& text)
{
    char kept[clPhonebook::kLongestText + 1];
    if (text.size() < sizeof kept)
        return;
    cutText(text, kept);
    text = std::string{kept};
}

} // namespace

std::optional<ModuleRecord> readModuleRecord(Bytes document)
{
    ResponseDocument answer;
    if (answer.parse(document) != ZEL_OK)
        return {};
    const auto text = [&](const char* name) -> std::string {
        return answer.root().child(name).child_value();
    };
    ModuleRecord record;
    record.address = text("IpAdr");
    record.mask = text("SubMask");
    record.name = text("Name");
    record.type = text("ModuleType");
    record.firmwareVersion = text("FirmwareVersion");
    if (answer.requireNumber("TcpPort", record.port) != ZEL_OK ||
        answer.requireNumber("Uuid", record.uuid) != ZEL_OK)
        return {};
    return record;
}

void clPhonebook::enter(std::uint32_t interfaceIndex, ModuleRecord record)
{
    for (std::string* const text :
         {&record.address, &record.mask, &record.name, &record.type, &record.firmwareVersion})
        shorten(*text);
    const std::lock_guard lock{m_mutex};
    Modules& modules = m_adapters[interfaceIndex];
    const std::uint64_t uuid = record.uuid;
    if (modules.size() < kMostModules || modules.contains(uuid))
        modules.insert_or_assign(uuid, std::move(record));
}

void clPhonebook::clear(std::optional<std::uint32_t> interfaceIndex)
{
    const std::lock_guard lock{m_mutex};
    if (interfaceIndex)
        m_adapters.erase(*interfaceIndex);
    else
        m_adapters.clear();
}

void clPhonebook::list(std::optional<std::uint32_t> interfaceIndex,
                       const std::function<void(const ModuleRecord&)>& take) const
{
    const std::lock_guard lock{m_mutex};
    for (const auto& [index, modules] : m_adapters) {
        if (interfaceIndex && index != *interfaceIndex)
            continue;
        for (const auto& [uuid, record] : modules)
            take(record);
    }
}

} // namespace zel
