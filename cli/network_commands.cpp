// zel scan, adapters and doctor: finding modules.

#include "application.h"
#include "module_probe.h"
#include "module_session.h"
#include "network_ports.h"
#include "network_scan.h"
#include "number_text.h"
#include "printable.h"

#include <array>
#include <cstdio>
#include <memory>

#include <nlohmann/json.hpp>

namespace zel::cli {

namespace {

constexpr auto kGroup = "Network";

struct NetworkArguments {
    std::optional<std::uint32_t> adapter;
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
    if (output.isJson)
        output.json({{"adapters", entries}});
    else
        output.table(table, "this host has no network adapters");
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
        if (!module.fits())
            notes += (notes.empty() ? "" : "\n") + printable(misfitText(module));
    }
    if (output.isJson) {
        output.json({{"modules", entries}});
    } else {
        output.table(tableOf(modules), "no module answered; 'zel doctor' looks for the reason",
                     notes);
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

std::string probeText(const FoundModule& module, const ModuleProbe& probe)
{
    if (!probe.problem.empty() && !module.fits())
        return misfitText(module);
    const std::string who = module.name + ", " + module.address + ":" + std::to_string(module.port);
    if (!probe.problem.empty())
        return who + ": answers scans, but " + probe.problem;
    std::array<char, 96> times{};
    std::snprintf(times.data(), times.size(), "connected over TCP in %.1f ms, answers in %.1f ms",
                  probe.connectMs, probe.readMs);
    return who + ": fine, " + times.data() +
           (module.fits() ? "" : ", though its address is in the subnet of no adapter here");
}

nlohmann::json probeJson(const ModuleProbe& probe)
{
    if (!probe.problem.empty())
        return {{"problem", probe.problem}};
    return {{"connectMs", probe.connectMs}, {"readMs", probe.readMs}};
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
    if (all.empty())
        text += "  none: connect this host to the modules' network\n";
    for (const Adapter& adapter : all) {
        std::size_t heard = 0;
        for (const FoundModule& module : modules)
            heard += module.adapter.number == adapter.number ? 1U : 0U;
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
    const auto probes = probeModules(modules);
    for (std::size_t i = 0; i < modules.size(); ++i) {
        found.push_back(moduleJson(modules[i]));
        found.back()["tcp"] = probeJson(probes[i]);
        text += "  " + printable(probeText(modules[i], probes[i])) + "\n";
    }
    if (output.isJson)
        output.json({{"ports", ports}, {"adapters", asked}, {"modules", found}});
    else
        output.bytes(text);
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

    addNetCommands(app, application);
    auto& doctorCommand =
        addCommand(app, {.name = "doctor",
                         .group = kGroup,
                         .description = "Look for what keeps modules from being found",
                         .examples = "  zel doctor"});
    whenChosen(doctorCommand, application, std::make_shared<NetworkArguments>(), doctor);
}

} // namespace zel::cli
