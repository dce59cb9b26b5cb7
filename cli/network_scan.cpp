#include "network_scan.h"

#include "command_failure.h"
#include "console.h"
#include "interrupt.h"
#include "ipv4.h"
#include "module_session.h"
#include "network_ports.h"
#include "number_text.h"
#include "suggestions.h"
#include "ZEL_VR_Framework.h"

#include <algorithm>
#include <future>

#include <pugixml.hpp>

namespace zel::cli {

namespace {

[[noreturn]] void failed(std::int32_t code, const std::string& problem)
{
    throw CommandFailure(
        {.problem = problem, .code = code, .codeText = StartedLibrary::textOf(code)});
}

/// A document that may not tell its length where it does not fit.
template <class Call>
std::string readDocument(std::size_t room, const std::string& problem, Call&& call)
{
    constexpr std::size_t kLargest = std::size_t{1} << 28U;
    std::string document(room, '\0');
    std::uint64_t length = 0;
    std::int32_t code = ZEL_OK;
    while ((code = call(document.data(), &length, std::uint64_t{document.size()})) ==
               ZEL_SRV_BUFFER_TOO_SMALL &&
           document.size() < kLargest)
        document.assign(4 * document.size(), '\0');
    if (code != ZEL_OK)
        failed(code, problem);
    document.resize(length);
    return document;
}

std::vector<FoundModule> scanOver(const Adapter& adapter)
{
    // Another attempt is another scan: there is room for more modules than a network has.
    constexpr std::size_t kRoom = std::size_t{1} << 22U;
    const std::string document =
        readDocument(kRoom, "could not scan over " + adapter.name,
                     [&](char* buffer, std::uint64_t* length, std::uint64_t capacity) {
                         return ZEL_XCOM_DoNetScan(adapter.number, buffer, length, capacity);
                     });
    pugi::xml_document parsed;
    parsed.load_buffer(document.data(), document.size());
    std::vector<FoundModule> modules;
    for (const auto node : parsed.child("SrvParams").children("Module")) {
        FoundModule module;
        module.address = node.child_value("IpAdr");
        module.mask = node.child_value("SubMask");
        module.port = node.child("TcpPort").text().as_uint();
        module.name = node.child_value("Name");
        module.uuid = node.child("Uuid").text().as_ullong();
        module.type = node.child_value("ModuleType");
        module.firmware = node.child_value("FirmwareVersion");
        module.adapter = adapter;
        modules.push_back(std::move(module));
    }
    return modules;
}

} // namespace

bool FoundModule::fits() const
{
    const auto own = ipv4(adapter.address);
    const auto ownMask = ipv4(adapter.mask);
    const auto theirs = ipv4(address);
    return own && ownMask && theirs && (*own & *ownMask) == (*theirs & *ownMask);
}

ModuleAddress FoundModule::tcpAddress() const
{
    if (!ipv4(address) || port == 0 || port > 65535) {
        throw CommandFailure({.problem = name + " (" + hexadecimal(uuid) +
                                         ") tells no address that can be connected to: " + address +
                                         ":" + std::to_string(port)});
    }
    return {address, static_cast<std::uint16_t>(port)};
}

std::string describedModule(const FoundModule& module)
{
    return module.name + " (" + hexadecimal(module.uuid) + ", " + module.address + ")";
}

std::string misfitText(const FoundModule& module)
{
    const Adapter& adapter = module.adapter;
    const std::string who =
        module.name + " (" + hexadecimal(module.uuid) + ") has the address " + module.address;
    if (adapter.address.empty()) {
        return who + ", but " + adapter.name +
               " has none: give this host one in the modules' network";
    }
    return who + ", which is outside of " + networkText(adapter.address, adapter.mask) + " of " +
           adapter.name + ": 'zel net set " + hexadecimal(module.uuid) +
           " --address ...' gives it another";
}

std::vector<Adapter> listAdapters()
{
    const std::string document = readDocument(
        std::size_t{1} << 15U, "could not list the adapters of this host", ZEL_XCOM_GetNetAdapter);
    pugi::xml_document parsed;
    parsed.load_buffer(document.data(), document.size());
    std::vector<Adapter> adapters;
    for (const auto node : parsed.child("SrvParams").children("NetSetting")) {
        adapters.push_back({node.attribute("address").as_uint(), node.child_value("AdapterName"),
                            node.child_value("IpAdr"), node.child_value("SubMask"),
                            node.child_value("PhyAdr")});
    }
    return adapters;
}

std::vector<FoundModule> scanNetwork(std::optional<std::uint32_t> adapter)
{
    const auto adapters = listAdapters();
    if (adapter && *adapter >= adapters.size()) {
        throw CommandFailure({.problem = "this host has no adapter " + std::to_string(*adapter),
                              .advice = "'zel adapters' lists those that it has"});
    }
    std::vector<std::future<std::vector<FoundModule>>> scans;
    for (const Adapter& one : adapters)
        if (!adapter || one.number == *adapter)
            scans.push_back(std::async(std::launch::async, [one] { return scanOver(one); }));
    std::vector<FoundModule> modules;
    for (auto& scan : scans)
        for (auto& module : scan.get())
            modules.push_back(std::move(module));
    stopIfInterrupted();
    return modules;
}

std::vector<FoundModule>
scanUntil(const std::function<bool(const std::vector<FoundModule>&)>& isEnough)
{
    // Short scans first, for those who look for one module; 3 seconds in all.
    const std::string set = environmentText("ZEL_SCAN_TIME");
    std::vector<FoundModule> modules;
    for (const char* const milliseconds : {"150", "350", "1000", "1500"}) {
        setEnvironment("ZEL_SCAN_TIME", milliseconds);
        for (auto& module : scanNetwork()) {
            const auto known = std::ranges::find_if(modules, [&](const FoundModule& one) {
                return one.uuid == module.uuid && one.adapter.number == module.adapter.number;
            });
            if (known != modules.end())
                *known = std::move(module);
            else
                modules.push_back(std::move(module));
        }
        if (isEnough(modules))
            break;
    }
    setEnvironment("ZEL_SCAN_TIME", set);
    return modules;
}

namespace {

/// In small letters, those of ASCII and Latin-1.
std::string lowered(std::string text)
{
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        const bool isLatin = i > 0 && text[i - 1] == '\xC3' && c <= 0x9E && c != 0x97;
        if (isLatin || (c >= 'A' && c <= 'Z'))
            text[i] = static_cast<char>(c + 0x20);
    }
    return text;
}

std::optional<std::uint64_t> uuidOf(const std::string& text)
{
    return wholeNumber<std::uint64_t>(text);
}

/// How well a module answers to a name.
enum class Match : std::uint8_t { none, beginning, otherCase, whole };

Match matchOf(const FoundModule& module, const std::string& text)
{
    if (module.uuid == uuidOf(text) || module.name == text)
        return Match::whole;
    const std::string wanted = lowered(text);
    const std::string name = lowered(module.name);
    return name == wanted             ? Match::otherCase
           : name.starts_with(wanted) ? Match::beginning
                                      : Match::none;
}

/// Those that match best, each once, over the adapter that it fits.
std::vector<FoundModule> bestMatches(const std::vector<FoundModule>& modules,
                                     const std::string& text)
{
    Match best = Match::beginning;
    std::vector<FoundModule> matching;
    for (const FoundModule& module : modules) {
        const Match match = matchOf(module, text);
        if (match < best)
            continue;
        if (match > best) {
            best = match;
            matching.clear();
        }
        const auto known = std::ranges::find(matching, module.uuid, &FoundModule::uuid);
        if (known == matching.end())
            matching.push_back(module);
        else if (!known->fits())
            *known = module;
    }
    return matching;
}

[[noreturn]] void refuseNothing(const ModuleTarget& target, const std::vector<FoundModule>& modules)
{
    std::vector<std::string> names;
    for (const FoundModule& module : modules)
        names.push_back(module.name);
    const std::string closest = closestTo(target.text, names);
    throw CommandFailure(
        {.problem = "no module in the network answers to '" + target.text + "'" +
                    (target.address ? ", and no host of this name takes a connection" : ""),
         .advice = (closest.empty() ? "" : "did you mean '" + closest + "'? ") +
                   "'zel scan' lists the modules; 'zel doctor' looks for what keeps them from "
                   "being found"});
}

[[noreturn]] void refuseSeveral(const std::string& text, const std::vector<FoundModule>& modules)
{
    constexpr std::size_t kMostNamed = 8;
    std::string named;
    for (std::size_t i = 0; i < std::min(modules.size(), kMostNamed); ++i)
        named += (i > 0 ? ", " : "") + describedModule(modules[i]);
    throw CommandFailure({.problem = counted(modules.size(), "module") + " answer to '" + text +
                                     "': " + named +
                                     (modules.size() > kMostNamed ? " and others" : ""),
                          .advice = "name the one in full, or by its address or UUID"});
}

} // namespace

FoundModule findModule(const ModuleTarget& target)
{
    requireScanPorts();
    const auto modules = scanUntil([&](const std::vector<FoundModule>& found) {
        return std::ranges::any_of(found, [&](const FoundModule& module) {
            return matchOf(module, target.text) >= Match::otherCase;
        });
    });
    return chooseModule(modules, target);
}

FoundModule chooseModule(const std::vector<FoundModule>& modules, const ModuleTarget& target)
{
    const auto matching = bestMatches(modules, target.text);
    if (matching.empty())
        refuseNothing(target, modules);
    if (matching.size() > 1)
        refuseSeveral(target.text, matching);
    return matching.front();
}

} // namespace zel::cli
