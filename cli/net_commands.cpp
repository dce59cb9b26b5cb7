// zel net show and set: a module's network settings.

#include "application.h"
#include "ipv4.h"
#include "module_session.h"
#include "network_ports.h"
#include "network_scan.h"
#include "number_text.h"
#include "printable.h"
#include "xml_layout.h"

#include <algorithm>
#include <memory>

#include <nlohmann/json.hpp>
#include <pugixml.hpp>

namespace zel::cli {

namespace {

struct ShowArguments {
    std::string module;
};

struct SetArguments {
    std::string module;
    std::string address;
    std::string mask;
    std::string dhcp;
    bool isForced = false;
};

/// A module for its network settings, which does not have to be connected: with an address that
/// fits nowhere it could not be.
class NetworkTarget {
public:
    /// An address is connected to; what may be a name or a UUID is found by `find`, or else may
    /// still be a host's name.
    template <class Find>
    NetworkTarget(const ModuleTarget& target, Find&& find)
    {
        if (!target.mayBeName) {
            connect(*target.address);
            return;
        }
        try {
            const FoundModule module = find();
            m_uuid = module.uuid;
            m_name = printable(module.name) + " (" + hexadecimal(module.uuid) + ")";
        } catch (const CommandFailure& notFound) {
            if (!target.address || !tryToConnect(*target.address))
                throw notFound;
        }
    }

    std::uint64_t uuid() const { return m_uuid; }
    const std::string& name() const { return m_name; }
    bool isConnected() const { return m_connection != nullptr; }
    std::uint16_t port() const { return m_connection->reached().port; }

    void check(std::int32_t code, const std::string& tried, Answer answer)
    {
        if (m_connection) {
            m_connection->judge(code, tried, "", answer);
        } else if (code != ZEL_OK) {
            const bool hasFailed = code < ZEL_OK;
            const CommandFailure failure(
                {.problem = hasFailed ? "could not " + tried + " of " + m_name
                                      : m_name + " warned when asked to " + tried,
                 .code = code,
                 .codeText = StartedLibrary::textOf(code),
                 .moduleText = hasFailed || answer == Answer::words ? lastModuleText(m_uuid) : ""});
            if (hasFailed)
                throw failure;
            std::fputs(failure.message().c_str(), stderr);
            m_warning = code;
        }
    }

    /// What a result for programs begins with.
    nlohmann::json identity() const
    {
        if (m_connection)
            return m_connection->identity();
        nlohmann::json identity{{"uuid", hexadecimal(m_uuid)}};
        if (m_warning != ZEL_OK) {
            identity["warning"] = {{"code", m_warning},
                                   {"hex", hexadecimal(m_warning)},
                                   {"text", StartedLibrary::textOf(m_warning)}};
        }
        return identity;
    }

private:
    void connect(const Address& address)
    {
        m_connection = std::make_unique<ModuleConnection>(address);
        m_uuid = m_connection->uuid();
        m_name = m_connection->address();
    }

    bool tryToConnect(const Address& address)
    {
        try {
            connect(address);
            return true;
        } catch (const CommandFailure&) {
            return false;
        }
    }

    std::unique_ptr<ModuleConnection> m_connection;
    std::uint64_t m_uuid = 0;
    std::string m_name;
    std::int32_t m_warning = ZEL_OK;
};

void show(CommandOutput& output, const ShowArguments& arguments)
{
    const auto text = moduleTarget(arguments.module);
    const StartedLibrary library;
    NetworkTarget target(text, [&text] { return findModule(text); });
    std::string document;
    target.check(readGrowing(document,
                             [&](char* buffer, std::uint64_t* length, std::uint64_t capacity) {
                                 return ZEL_XCOM_ReadNetSetting(target.uuid(), buffer, length,
                                                                capacity);
                             }),
                 "read the network settings", Answer::data);
    pugi::xml_document parsed;
    parsed.load_buffer(document.data(), document.size());
    TextTable table({{"Setting"}, {"Value"}});
    nlohmann::json settings = nlohmann::json::object();
    for (const auto setting : parsed.document_element().children()) {
        const std::string value = wholeText(setting);
        table.addRow({setting.name(), value});
        settings[setting.name()] = value;
    }
    if (output.isJson)
        output.json(target.identity(), {{"settings", settings}});
    else
        output.table(table, "the module tells no settings");
}

/// What is to be set, as numbers.
struct Wanted {
    std::optional<std::uint32_t> address;
    std::optional<std::uint32_t> mask;
};

Wanted wantedBy(const SetArguments& arguments)
{
    const Wanted wanted{ipv4(arguments.address), ipv4(arguments.mask)};
    if (!arguments.address.empty() && (!wanted.address || !isDeviceAddress(*wanted.address))) {
        throw CommandFailure({.problem = arguments.address + " is no address of a device",
                              .advice = "four numbers up to 255, the first 1 to 223 and not 127"});
    }
    if (!arguments.mask.empty() && (!wanted.mask || !isSubnetMask(*wanted.mask))) {
        throw CommandFailure({.problem = arguments.mask + " is no subnet mask",
                              .advice = "a mask is ones and then zeros, such as 255.255.255.0"});
    }
    return wanted;
}

const FoundModule* withUuid(const std::vector<FoundModule>& modules, std::uint64_t uuid)
{
    const FoundModule* found = nullptr;
    for (const FoundModule& module : modules)
        if (module.uuid == uuid && (found == nullptr || module.fits()))
            found = &module;
    return found;
}

void refuseTakenAddress(std::uint32_t address, std::uint64_t uuid,
                        const std::vector<FoundModule>& modules,
                        const std::vector<Adapter>& adapters)
{
    for (const FoundModule& module : modules) {
        if (module.uuid != uuid && ipv4(module.address) == address) {
            throw CommandFailure({.problem = dotted(address) + " is the address of " + module.name +
                                             " (" + hexadecimal(module.uuid) + ")",
                                  .advice = "two modules with one address cannot both be reached: "
                                            "'zel scan' shows the addresses that are taken"});
        }
    }
    for (const Adapter& adapter : adapters) {
        if (ipv4(adapter.address) == address) {
            throw CommandFailure(
                {.problem = dotted(address) + " is the address of this host, on " + adapter.name});
        }
    }
}

/// Whether a host behind the adapter and the module would take each other for neighbours.
bool areNeighbours(const Adapter& adapter, std::uint32_t address, std::optional<std::uint32_t> mask)
{
    const auto own = ipv4(adapter.address);
    const auto ownMask = ipv4(adapter.mask);
    return own && ownMask && ((*own ^ address) & *ownMask) == 0 &&
           (!mask || ((*own ^ address) & *mask) == 0);
}

void refuseForeignAddress(std::uint32_t address, std::optional<std::uint32_t> mask,
                          const std::vector<Adapter>& adapters)
{
    std::string networks;
    for (const Adapter& adapter : adapters) {
        if (areNeighbours(adapter, address, mask))
            return;
        if (!adapter.address.empty()) {
            networks += (networks.empty() ? "" : ", ") +
                        networkText(adapter.address, adapter.mask) + " of " + adapter.name;
        }
    }
    throw CommandFailure(
        {.problem = dotted(address) + (mask ? " with the mask " + dotted(*mask) : "") +
                    " is in the subnet of none of this host's adapters" +
                    (networks.empty() ? "" : ": " + networks),
         .advice = "this host could not connect to the module; --force sets it all the same"});
}

/// `module`, where a scan has heard it, tells what stays as it is.
void refuseUnusable(const Wanted& wanted, const FoundModule* module, std::uint64_t uuid,
                    const std::vector<FoundModule>& modules, bool isForced)
{
    const auto adapters = listAdapters();
    if (wanted.address)
        refuseTakenAddress(*wanted.address, uuid, modules, adapters);
    const auto address =
        wanted.address || module == nullptr ? wanted.address : ipv4(module->address);
    const auto mask = wanted.mask || module == nullptr ? wanted.mask : ipv4(module->mask);
    if (!address)
        return;
    const std::uint32_t host = mask ? *address & ~*mask : 1;
    if (mask && (host == 0 || host == ~*mask)) {
        throw CommandFailure({.problem = dotted(*address) + " is the " +
                                         (host == 0 ? "address" : "broadcast address") +
                                         " of the network " +
                                         networkText(dotted(*address), dotted(*mask))});
    }
    if (!isForced)
        refuseForeignAddress(*address, mask, adapters);
}

std::string settingsDocument(const SetArguments& arguments, const Wanted& wanted)
{
    pugi::xml_document document;
    auto interface =
        document.append_child("Communication").append_child("Network").append_child("eth0");
    const auto add = [&](const char* name, const std::string& value) {
        if (!value.empty()) {
            interface.append_child(name).text().set(value.c_str());
        }
    };
    add("Dhcp", arguments.dhcp);
    add("IpAdr", wanted.address ? dotted(*wanted.address) : "");
    add("SubMask", wanted.mask ? dotted(*wanted.mask) : "");
    if (!interface.first_child()) {
        throw CommandFailure(
            {.problem = "nothing to set", .advice = "--address, --mask and --dhcp tell what"});
    }
    std::ostringstream text;
    document.save(text, "", pugi::format_raw | pugi::format_no_declaration);
    return text.str();
}

bool isInEffect(const Wanted& wanted, const FoundModule& module)
{
    return (!wanted.address || ipv4(module.address) == wanted.address) &&
           (!wanted.mask || ipv4(module.mask) == wanted.mask);
}

/// The module as a scan hears it afterwards, with the new address as soon as it has that.
std::optional<FoundModule> lookAfter(std::uint64_t uuid, const Wanted& wanted)
{
    constexpr int kScans = 3; // a module may need a while to change its address
    std::optional<FoundModule> heard;
    for (int scan = 0; scan < kScans && (!heard || !isInEffect(wanted, *heard)); ++scan) {
        const auto modules = scanUntil([&](const std::vector<FoundModule>& found) {
            const FoundModule* const module = withUuid(found, uuid);
            return module != nullptr && isInEffect(wanted, *module);
        });
        if (const FoundModule* const module = withUuid(modules, uuid))
            heard = *module;
    }
    return heard;
}

/// For modules that no scan hears, such as those behind a router.
bool isReachedAt(std::uint32_t address, std::uint16_t port, std::uint64_t uuid)
{
    try {
        return ModuleConnection(Address{dotted(address), port}).uuid() == uuid;
    } catch (const CommandFailure&) {
        return false;
    }
}

void reportHeard(CommandOutput& output, const NetworkTarget& target, const FoundModule& heard,
                 const Wanted& wanted)
{
    const bool hasTaken = isInEffect(wanted, heard);
    if (output.isJson) {
        output.json(target.identity(), {{"written", true},
                                        {"inEffect", hasTaken},
                                        {"now",
                                         {{"address", heard.address},
                                          {"mask", heard.mask},
                                          {"port", heard.port},
                                          {"fits", heard.fits()}}}});
        return;
    }
    output.value(target.name() + " has taken the settings and " +
                 (hasTaken ? "has the address " : "still has the address ") + heard.address +
                 " with the mask " + heard.mask +
                 (hasTaken ? "" : "; they may take effect when it restarts"));
    if (!heard.fits())
        output.value(misfitText(heard));
}

void set(CommandOutput& output, const SetArguments& arguments)
{
    const Wanted wanted = wantedBy(arguments);
    const std::string document = settingsDocument(arguments, wanted);
    const auto text = moduleTarget(arguments.module);
    requireScanPorts();
    const StartedLibrary library;
    const auto modules = scanNetwork();
    NetworkTarget target(text, [&] { return chooseModule(modules, text); });
    const FoundModule* const module = withUuid(modules, target.uuid());
    if (wanted.address || wanted.mask)
        refuseUnusable(wanted, module, target.uuid(), modules, arguments.isForced);
    const std::int32_t code =
        ZEL_XCOM_WriteNetSetting(target.uuid(), document.c_str(), document.size());
    if (!isSilence(code))
        target.check(code, "write the network settings", Answer::words);
    if (const auto heard = lookAfter(target.uuid(), wanted)) {
        reportHeard(output, target, *heard, wanted);
        return;
    }
    const bool isThere = module == nullptr && target.isConnected() && wanted.address &&
                         isReachedAt(*wanted.address, target.port(), target.uuid());
    if (!isThere) {
        target.check(isSilence(code) ? code : ZEL_OK, "write the network settings", Answer::words);
        throw CommandFailure({.problem = target.name() + " has taken the settings, but answers no "
                                                         "scan with them",
                              .advice =
                                  "it may need longer, or a restart: 'zel scan' shows when it "
                                  "is back, 'zel doctor' looks for what keeps it away"});
    }
    if (output.isJson) {
        output.json(target.identity(), {{"written", true}, {"inEffect", true}});
    } else {
        output.value(target.name() + " has taken the settings and is reached at " +
                     arguments.address);
    }
}

void addModuleArgument(CLI::App& command, std::string& module)
{
    command.add_option("ADDRESS", module, "Module: address, name or UUID")->required();
}

} // namespace

void addNetCommands(CLI::App& app, Application& application)
{
    auto& net = addCommand(app, {.name = "net",
                                 .group = "Network",
                                 .description = "Show or change a module's network settings",
                                 .examples = ""});
    net.require_subcommand(0, 1);
    auto& showCommand = addCommand(net, {.name = "show",
                                         .group = "Commands",
                                         .description = "Show a module's network settings",
                                         .examples = "  zel net show 0x0000001234AB0001"});
    const auto toShow = std::make_shared<ShowArguments>();
    addModuleArgument(showCommand, toShow->module);
    whenChosen(showCommand, application, toShow, show);
    auto& setCommand =
        addCommand(net, {.name = "set",
                         .group = "Commands",
                         .description = "Change a module's network settings, and look for it with "
                                        "them",
                         .examples = "  zel net set MOD-1 --address 192.168.169.25"});
    const auto toSet = std::make_shared<SetArguments>();
    addModuleArgument(setCommand, toSet->module);
    setCommand.add_option("--address", toSet->address, "Its new IPv4 address")
        ->option_text("ADDRESS");
    setCommand.add_option("--mask", toSet->mask, "Its new subnet mask")->option_text("MASK");
    setCommand.add_option("--dhcp", toSet->dhcp, "Whether it asks a server for its address")
        ->check(CLI::IsMember({"On", "Off"}, CLI::ignore_case))
        ->option_text("On|Off");
    setCommand.add_flag("--force", toSet->isForced,
                        "Also an address that is in the subnet of none of this host's adapters");
    whenChosen(setCommand, application, toSet, set);
}

} // namespace zel::cli
