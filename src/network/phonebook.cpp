#include "phonebook.h"

#include "cut_text.h"
#include "response_document.h"
#include "xml_characters.h"

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
    clResponseDocument answer;
    if (answer.parse(document) != ZEL_OK)
        return {};
    const auto text = [&](const char* name) -> std::string {
        return xmlText(wholeText(answer.root().child(name)));
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
    auto& modules = m_adapters[interfaceIndex];
    const std::uint64_t uuid = record.uuid;
    if (modules.size() < kMostModules || modules.contains(uuid))
        modules.insert_or_assign(uuid, Module{std::move(record), m_latestScan});
}

clPhonebook::Scan::Scan(std::shared_ptr<clPhonebook> phonebook,
                        std::optional<std::uint32_t> interfaceIndex)
    : m_phonebook(std::move(phonebook)), m_interfaceIndex(interfaceIndex)
{
    clPhonebook& book = *m_phonebook;
    const std::lock_guard lock{book.m_mutex};
    m_number = ++book.m_latestScan;
    book.m_scans.insert(m_number);
    for (auto& [index, modules] : book.m_adapters) {
        if (!interfaceIndex || index == *interfaceIndex)
            std::erase_if(modules, [oldest = *book.m_scans.begin()](const auto& known) {
                return known.second.latestScan < oldest;
            });
    }
}

clPhonebook::Scan::~Scan()
{
    const std::lock_guard lock{m_phonebook->m_mutex};
    m_phonebook->m_scans.erase(m_number);
}

void clPhonebook::Scan::list(const std::function<void(const ModuleRecord&)>& take) const
{
    const std::lock_guard lock{m_phonebook->m_mutex};
    for (const auto& [index, modules] : m_phonebook->m_adapters) {
        if (m_interfaceIndex && index != *m_interfaceIndex)
            continue;
        for (const auto& [uuid, module] : modules)
            if (module.latestScan >= m_number)
                take(module.record);
    }
}

} // namespace zel
