// zel scan, adapters, net and doctor: finding modules and giving them addresses.

#include <memory>

#include <nlohmann/json.hpp>
#include <pugixml.hpp>

#include "application.h"
#include "module_session.h"
#include "network_ports.h"
#include "network_scan.h"
#include "number_text.h"
#include "printable.h"
#include "text_reading.h"
#include "ZEL_VR_Framework.h"

namespace zel::cli {

namespace {

constexpr auto kGroup = "Network";

struct NetworkArguments {
    std::optional<std::uint32_t> adapter;
    std::string module;
    std::string address;
    std::string mask;
    std::string dhcp;
};

std::string adapterText(const Adapter& adapter)
{
    return adapter.address.empty() ? "no address" : adapter.address;
}

nlohmann::json adapterJson(const Adapter& adapter)
{
    return {{"number", adapter.number},
            {"name", adapter.name},
            {"address", adapter.address},
            {"mask", adapter.mask},
            {"hardware", adapter.hardware}};
}

nlohmann::json moduleJson(const FoundModule& module)
{
    return {{"address", module.address},
            {"mask", module.mask},
            {"port", module.port},
            {"name", module.name},
            {"uuid", hexadecimal(module.uuid)},
            {"type", module.type},
            {"firmware", module.firmware},
            {"adapter", module.adapter.name},
            {"fits", module.fits()}};
}

void adapters(CommandOutput& output, const NetworkArguments&)
{
    TextTable table({{"Number", Align::right}, {"Name"}, {"Address"}, {"Mask"}, {"Hardware"}});
    auto entries = nlohmann::json::array();
    for (const Adapter& adapter : listAdapters()) {
        table.addRow({std::to_string(adapter.number), adapter.name, adapterText(adapter),
                      adapter.mask, adapter.hardware});
        entries.push_back(adapterJson(adapter));
    }
    if (output.isJson) {
        output.json({{"adapters", entries}});
    } else {
        output.table(table, "this host has no network adapters");
    }
}

/// What a person has to know about a module that this host cannot talk to.
std::string misfitText(const FoundModule& module)
{
    const Adapter& adapter = module.adapter;
    if (adapter.address.empty()) {
        return module.name + " (" + hexadecimal(module.uuid) + ") has the address " +
               module.address + ", but " + adapter.name +
               " has none: give this host one in the modules' network";
    }
    return module.name + " (" + hexadecimal(module.uuid) + ") has the address " + module.address +
           ", which is outside of " + networkText(adapter.address, adapter.mask) + " of " +
           adapter.name + ": 'zel net set " + hexadecimal(module.uuid) +
           " --address ...' gives it another";
}

TextTable tableOf(const std::vector<FoundModule>& modules)
{
    TextTable table(
        {{"Address"}, {"Name"}, {"Type"}, {"Firmware"}, {"UUID"}, {"Adapter"}, {"Fits"}});
    for (const FoundModule& module : modules) {
        table.addRow({module.address + ":" + std::to_string(module.port), module.name, module.type,
                      module.firmware, hexadecimal(module.uuid), module.adapter.name,
                      module.fits() ? "yes" : "no"});
    }
    return table;
}

void scan(CommandOutput& output, const NetworkArguments& arguments)
{
    requireScanPorts();
    const StartedLibrary library;
    const auto modules = scanNetwork(arguments.adapter);
    auto entries = nlohmann::json::array();
    std::string notes;
    for (const FoundModule& module : modules) {
        entries.push_back(moduleJson(module));
        if (!module.fits()) {
            notes += (notes.empty() ? "" : "\n") + printable(misfitText(module));
        }
    }
    if (output.isJson) {
        output.json({{"modules", entries}});
    } else {
        output.table(tableOf(modules), "no module answered; 'zel doctor' looks for the reason",
                     notes);
    }
}

/// A module for its network settings, which does not have to be connected: with an address that
/// fits nowhere it could not be.
class NetworkTarget {
public:
    explicit NetworkTarget(const std::string& text)
    {
        // An address is connected to; everything else answers to a scan.
        if (text.find_first_of(".:") != std::string::npos) {
            m_connection = std::make_unique<ModuleConnection>(ModuleAddress::parse(text));
            m_uuid = m_connection->uuid();
            m_name = m_connection->address();
        } else {
            const FoundModule module = findModule(text);
            m_uuid = module.uuid;
            m_name = printable(module.name) + " (" + hexadecimal(module.uuid) + ")";
        }
    }

    std::uint64_t uuid() const { return m_uuid; }
    const std::string& name() const { return m_name; }

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
            if (hasFailed) {
                throw failure;
            }
            std::fputs(failure.message().c_str(), stderr);
            m_warning = code;
        }
    }

    /// What a result for programs begins with.
    nlohmann::json identity() const
    {
        if (m_connection) {
            return m_connection->identity();
        }
        nlohmann::json identity{{"uuid", hexadecimal(m_uuid)}};
        if (m_warning != ZEL_OK) {
            identity["warning"] = {{"code", m_warning},
                                   {"hex", hexadecimal(m_warning)},
                                   {"text", StartedLibrary::textOf(m_warning)}};
        }
        return identity;
    }

private:
    std::unique_ptr<ModuleConnection> m_connection;
    std::uint64_t m_uuid = 0;
    std::string m_name;
    std::int32_t m_warning = ZEL_OK;
};

void show(CommandOutput& output, const NetworkArguments& arguments)
{
    const StartedLibrary library;
    NetworkTarget target(arguments.module);
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
        table.addRow({setting.name(), setting.child_value()});
        settings[setting.name()] = setting.child_value();
    }
    if (output.isJson) {
        output.json(target.identity(), {{"settings", settings}});
    } else {
        output.table(table, "the module tells no settings");
    }
}

void set(CommandOutput& output, const NetworkArguments& arguments)
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
    add("IpAdr", arguments.address);
    add("SubMask", arguments.mask);
    if (!interface.first_child()) {
        throw CommandFailure(
            {.problem = "nothing to set", .advice = "--address, --mask and --dhcp tell what"});
    }
    std::ostringstream text;
    document.save(text, "", pugi::format_raw | pugi::format_no_declaration);
    const StartedLibrary library;
    NetworkTarget target(arguments.module);
    target.check(ZEL_XCOM_WriteNetSetting(target.uuid(), text.str().c_str(), text.str().size()),
                 "write the network settings", Answer::words);
    if (output.isJson) {
        output.json(target.identity(), {{"written", true}});
    } else {
        output.line(target.name() + " has taken the settings; 'zel scan' shows it with them");
    }
}

/// A port of this host for a person; `use` says what is lost without it.
std::string portText(std::uint16_t port, const PortCheck& check, const std::string& use)
{
    const std::string text = "  " + std::to_string(port) + ": ";
    switch (check.state) {
    case PortState::free:
        return text + "free\n";
    case PortState::shared:
        return text + "in use by another program that shares it; what goes to all comes to both\n";
    default:
        return text + check.reason + ": another program keeps it for itself, " + use + "\n";
    }
}

void doctor(CommandOutput& output, const NetworkArguments&)
{
    // Before the library takes its own.
    auto ports = nlohmann::json::array();
    std::string text = "Ports of this host:\n";
    for (const auto& [port, use] :
         {std::pair{std::uint16_t{1200}, "which matters to simulated modules on this host only"},
          {std::uint16_t{1201}, "answers to broadcasts are not heard; end that program"},
          {std::uint16_t{1300}, "multicasts are not heard; end that program"}}) {
        const PortCheck check = checkPort(port);
        ports.push_back({{"port", port},
                         {"free", check.state == PortState::free},
                         {"shared", check.state == PortState::shared},
                         {"problem", check.reason}});
        text += portText(port, check, use);
    }
    const StartedLibrary library;
    const auto modules = scanNetwork();
    auto asked = nlohmann::json::array();
    text += "Adapters:\n";
    const auto all = listAdapters();
    if (all.empty()) {
        text += "  none: connect this host to the modules' network\n";
    }
    for (const Adapter& adapter : all) {
        std::size_t heard = 0;
        for (const FoundModule& module : modules) {
            heard += module.adapter.number == adapter.number ? 1U : 0U;
        }
        auto entry = adapterJson(adapter);
        entry["modules"] = heard;
        asked.push_back(entry);
        text += "  " + printable(adapter.name) + ", " + adapterText(adapter) + ": ";
        text += adapter.address.empty()
                    ? "asked by broadcast only; " + counted(heard, "module") +
                          " answered; give it an address in the modules' network\n"
                    : "asked by multicast to 224.0.0.1:1300 and broadcast to port 1200; " +
                          counted(heard, "module") + " answered\n";
    }
    text += modules.empty() ? "No module answered: is one switched on and on the same cable or "
                              "switch? Does a firewall of this host drop UDP to ports 1201 and "
                              "1300?\n"
                            : "Modules:\n";
    auto found = nlohmann::json::array();
    for (const FoundModule& module : modules) {
        found.push_back(moduleJson(module));
        text += "  " +
                printable(module.fits() ? module.name + ", " + module.address + ": fine"
                                        : misfitText(module)) +
                "\n";
    }
    if (output.isJson) {
        output.json({{"ports", ports}, {"adapters", asked}, {"modules", found}});
    } else {
        output.bytes(text);
    }
}

void addModuleArgument(CLI::App& command, std::string& module)
{
    command.add_option("MODULE", module, "Address, name or UUID of the module")->required();
}

} // namespace

void addNetworkCommands(CLI::App& app, Application& application)
{
    auto& scanCommand = addCommand(app, {.name = "scan",
                                         .group = kGroup,
                                         .description = "Find the modules in the network",
                                         .examples = "  zel scan\n  zel scan --adapter 1"});
    const auto toScan = std::make_shared<NetworkArguments>();
    scanCommand
        .add_option("--adapter", toScan->adapter, "Only over this adapter of 'zel adapters'")
        ->option_text("N");
    whenChosen(scanCommand, application, toScan, scan);

    auto& adaptersCommand = addCommand(app, {.name = "adapters",
                                             .group = kGroup,
                                             .description = "List this host's network adapters",
                                             .examples = "  zel adapters"});
    whenChosen(adaptersCommand, application, std::make_shared<NetworkArguments>(), adapters);

    auto& net = addCommand(app, {.name = "net",
                                 .group = kGroup,
                                 .description = "Show or change a module's network settings",
                                 .examples = ""});
    net.require_subcommand(0, 1);
    auto& showCommand = addCommand(net, {.name = "show",
                                         .group = "Commands",
                                         .description = "Show a module's network settings",
                                         .examples = "  zel net show 0x0000001234AB0001"});
    const auto toShow = std::make_shared<NetworkArguments>();
    addModuleArgument(showCommand, toShow->module);
    whenChosen(showCommand, application, toShow, show);
    auto& setCommand =
        addCommand(net, {.name = "set",
                         .group = "Commands",
                         .description = "Change a module's network settings",
                         .examples = "  zel net set MOD-1 --address 192.168.169.25"});
    const auto toSet = std::make_shared<NetworkArguments>();
    addModuleArgument(setCommand, toSet->module);
    setCommand.add_option("--address", toSet->address, "Its new IPv4 address")
        ->check(CLI::ValidIPV4)
        ->option_text("ADDRESS");
    setCommand.add_option("--mask", toSet->mask, "Its new subnet mask")
        ->check(CLI::ValidIPV4)
        ->option_text("MASK");
    setCommand.add_option("--dhcp", toSet->dhcp, "Whether it asks a server for its address")
        ->check(CLI::IsMember({"On", "Off"}, CLI::ignore_case))
        ->option_text("On|Off");
    whenChosen(setCommand, application, toSet, set);

    auto& doctorCommand =
        addCommand(app, {.name = "doctor",
                         .group = kGroup,
                         .description = "Look for what keeps modules from being found",
                         .examples = "  zel doctor"});
    whenChosen(doctorCommand, application, std::make_shared<NetworkArguments>(), doctor);
}

} // namespace zel::cli
