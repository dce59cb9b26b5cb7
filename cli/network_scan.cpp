#include "network_scan.h"

#include "command_failure.h"
#include "console.h"
#include "interrupt.h"
#include "ipv4.h"
#include "network_ports.h"
#include "number_text.h"
#include "suggestions.h"

#include <algorithm>

namespace zel::cli {

namespace {

template <class Call>
auto translated(Call&& call)
{
    try {
        return call();
    } catch (const Error& error) {
        throw CommandFailure({.problem = "could not " + error.tried(),
                              .code = error.code(),
                              .codeText = error.codeText()});
    }
}

} // namespace

Address addressOf(const FoundModule& module)
{
    const auto address = module.tcpAddress();
    if (!address) {
        throw CommandFailure({.problem = module.name + " (" + hexadecimal(module.uuid) +
                                         ") tells no address that can be connected to: " +
                                         module.address + ":" + std::to_string(module.port)});
    }
    return *address;
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
    return translated([] { return zel::listAdapters(); });
}

std::vector<FoundModule> scanNetwork(std::optional<std::uint32_t> adapter)
{
    if (adapter && *adapter >= listAdapters().size()) {
        throw CommandFailure({.problem = "this host has no adapter " + std::to_string(*adapter),
                              .advice = "'zel adapters' lists those that it has"});
    }
    auto modules = translated([&] { return scan(adapter); });
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
    const auto matching = matchingModules(modules, target.text);
    if (matching.empty())
        refuseNothing(target, modules);
    if (matching.size() > 1)
        refuseSeveral(target.text, matching);
    return matching.front();
}

} // namespace zel::cli
