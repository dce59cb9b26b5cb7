#include "network_scan.h"

#include <bit>
#include <charconv>
#include <future>

#include <pugixml.hpp>

#include "command_failure.h"
#include "interrupt.h"
#include "module_session.h"
#include "network_ports.h"
#include "number_text.h"
#include "ZEL_VR_Framework.h"

namespace zel::cli {

namespace {

/// A dotted IPv4 address as a number, or nothing.
std::optional<std::uint32_t> ipv4(const std::string& text)
{
    std::uint32_t address = 0;
    const char* position = text.data();
    const char* const end = position + text.size();
    for (int part = 0; part < 4; ++part) {
        if (part > 0 && (position == end || *position++ != '.')) {
            return {};
        }
        std::uint32_t value = 0;
        const auto read = std::from_chars(position, end, value);
        if (read.ec != std::errc{} || value > 255) {
            return {};
        }
        position = read.ptr;
        address = address << 8U | value;
    }
    return position == end ? std::optional{address} : std::nullopt;
}

std::string dotted(std::uint32_t address)
{
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        text += std::to_string(address >> shift & 255U) + (shift > 0 ? "." : "");
    }
    return text;
}

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
           document.size() < kLargest) {
        document.assign(4 * document.size(), '\0');
    }
    if (code != ZEL_OK) {
        failed(code, problem);
    }
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

std::string networkText(const std::string& address, const std::string& mask)
{
    const auto number = ipv4(address);
    const auto bits = ipv4(mask);
    if (!number || !bits) {
        return "no network";
    }
    return dotted(*number & *bits) + "/" + std::to_string(std::popcount(*bits));
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
    for (const Adapter& one : adapters) {
        if (!adapter || one.number == *adapter) {
            scans.push_back(std::async(std::launch::async, [one] { return scanOver(one); }));
        }
    }
    std::vector<FoundModule> modules;
    for (auto& scan : scans) {
        for (auto& module : scan.get()) {
            modules.push_back(std::move(module));
        }
    }
    stopIfInterrupted();
    return modules;
}

FoundModule findModule(const std::string& nameOrUuid)
{
    const bool isHexadecimal = nameOrUuid.starts_with("0x") || nameOrUuid.starts_with("0X");
    std::uint64_t uuid = 0;
    const char* const begin = nameOrUuid.data() + (isHexadecimal ? 2 : 0);
    const char* const end = nameOrUuid.data() + nameOrUuid.size();
    const auto read = std::from_chars(begin, end, uuid, isHexadecimal ? 16 : 10);
    const bool isUuid = read.ec == std::errc{} && read.ptr == end;
    requireScanPorts();
    std::vector<FoundModule> matching;
    for (auto& module : scanNetwork()) {
        const bool isIt = isUuid ? module.uuid == uuid : module.name == nameOrUuid;
        const bool isKnown = !matching.empty() && matching.back().uuid == module.uuid;
        if (isIt && (!isKnown || !matching.back().fits())) {
            if (isKnown) {
                matching.pop_back(); // seen by an adapter that it fits better
            }
            matching.push_back(std::move(module));
        }
    }
    if (matching.empty()) {
        throw CommandFailure({.problem = "no module in the network answers to '" + nameOrUuid + "'",
                              .advice = "'zel scan' lists the modules; 'zel doctor' looks for "
                                        "what keeps them from being found"});
    }
    if (matching.size() > 1) {
        throw CommandFailure(
            {.problem = "several modules have the name '" + nameOrUuid + "'",
             .advice = "name the one by its address or UUID: " + hexadecimal(matching[0].uuid) +
                       ", " + hexadecimal(matching[1].uuid)});
    }
    return matching.front();
}

} // namespace zel::cli
