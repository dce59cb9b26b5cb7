// zel errors, status, modules and topology: how the modules are.

#include "application.h"
#include "module_session.h"
#include "number_text.h"
#include "text_reading.h"

#include <algorithm>
#include <memory>
#include <vector>

#include <nlohmann/json.hpp>
#include <pugixml.hpp>

namespace zel::cli {

namespace {

constexpr auto kGroup = "State";

struct StateArguments {
    std::string address;
};

struct TopologyArguments {
    std::vector<std::string> addresses;
    bool isXml = false;
};

/// A text of a fixed-size record, which is not terminated when it fills its field.
template <std::size_t Size>
std::string fieldText(const char (&field)[Size])
{
    return {field, std::find(field, field + Size, '\0')};
}

/// Where an error or a status belongs, numbered from 1.
std::string numberText(std::uint32_t number)
{
    return number == 0 ? "-" : std::to_string(number);
}

std::string errorText(const ZEL_ErrorEntry& error)
{
    const std::string text = fieldText(error.text);
    return text.empty() ? StartedLibrary::textOf(error.code) : text;
}

/// The library keeps no more entries than its list takes and does not tell about the rest.
std::string fullListNote(std::uint32_t count)
{
    return count < ZEL_LIST_SIZE_EX ? "" : "the list is full: the module may have more";
}

void errors(CommandOutput& output, const StateArguments& arguments)
{
    const ModuleSession session(arguments.address);
    const auto list = std::make_unique<ZEL_ErrorListEx>();
    session.checkReading(ZEL_XSTAT_GetErrorStatusEx(session.uuid(), list.get()), "read the errors");
    const auto count = std::min<std::uint32_t>(list->count, ZEL_LIST_SIZE_EX);
    TextTable table({{"Level", Align::right},
                     {"Code", Align::right},
                     {"Connector", Align::right},
                     {"Channel", Align::right},
                     {"Signal", Align::right},
                     {"Text"}});
    auto entries = nlohmann::json::array();
    for (std::uint32_t i = 0; i < count; ++i) {
        const ZEL_ErrorEntry error = list->entries[i];
        table.addRow({std::to_string(error.level), std::to_string(error.code),
                      numberText(error.connector), numberText(error.channel),
                      numberText(error.signal), errorText(error)});
        entries.push_back({{"level", error.level},
                           {"code", error.code},
                           {"hex", hexadecimal(error.code)},
                           {"connector", error.connector},
                           {"channel", error.channel},
                           {"signal", error.signal},
                           {"text", errorText(error)}});
    }
    if (output.isJson)
        output.json(session.identity(), {{"errors", entries}});
    else
        output.table(table, "no errors", fullListNote(count));
}

void status(CommandOutput& output, const StateArguments& arguments)
{
    const ModuleSession session(arguments.address);
    const auto list = std::make_unique<ZEL_StatusListEx>();
    session.checkReading(ZEL_XSTAT_GetModuleStatusEx(session.uuid(), list.get()),
                         "read the status");
    const auto count = std::min<std::uint32_t>(list->count, ZEL_LIST_SIZE_EX);
    TextTable table({{"Connector", Align::right},
                     {"Channel", Align::right},
                     {"Signal", Align::right},
                     {"Status", Align::right},
                     {"Value", Align::right},
                     {"Info"}});
    auto entries = nlohmann::json::array();
    for (std::uint32_t i = 0; i < count; ++i) {
        const ZEL_StatusEntry entry = list->entries[i];
        const std::string info = fieldText(entry.info);
        table.addRow({numberText(entry.connector), numberText(entry.channel),
                      numberText(entry.signal), std::to_string(entry.statusId),
                      std::to_string(entry.value), info});
        entries.push_back({{"connector", entry.connector},
                           {"channel", entry.channel},
                           {"signal", entry.signal},
                           {"statusId", entry.statusId},
                           {"value", std::to_string(entry.value)},
                           {"info", info}});
    }
    if (output.isJson)
        output.json(session.identity(), {{"status", entries}});
    else
        output.table(table, "the module reports no status", fullListNote(count));
}

std::vector<ZEL_ConnectedModule> connectedModules(const ModuleSession& session)
{
    constexpr std::size_t kMostModules = 65536;
    std::vector<ZEL_ConnectedModule> modules(256);
    std::uint64_t count = 0;
    std::int32_t code = ZEL_OK;
    for (;;) {
        code =
            ZEL_XSTAT_GetConnectedModules(session.uuid(), modules.data(), &count, modules.size());
        // The library does not tell how many there are when there are too many.
        if (code != ZEL_SRV_BUFFER_TOO_SMALL || modules.size() >= kMostModules)
            break;
        modules.resize(modules.size() * 4);
    }
    session.checkReading(code, "list the connected modules");
    modules.resize(std::min<std::uint64_t>(count, modules.size()));
    return modules;
}

void modules(CommandOutput& output, const StateArguments& arguments)
{
    const ModuleSession session(arguments.address);
    TextTable table({{"UUID"}, {"Type", Align::right}, {"Interface", Align::right}});
    auto entries = nlohmann::json::array();
    for (const ZEL_ConnectedModule module : connectedModules(session)) {
        const std::string uuid = hexadecimal(module.uuid);
        table.addRow(
            {uuid, std::to_string(module.deviceType), std::to_string(module.activeInterface)});
        entries.push_back({{"uuid", uuid},
                           {"deviceType", module.deviceType},
                           {"activeInterface", module.activeInterface}});
    }
    if (output.isJson)
        output.json(session.identity(), {{"modules", entries}});
    else
        output.table(table, "no modules are connected to this one");
}

using Connections = std::vector<std::unique_ptr<ModuleConnection>>;

void showTopologyDocument(CommandOutput& output, const Connections& connections,
                          const std::string& document)
{
    auto identities = nlohmann::json::array();
    for (const auto& connection : connections)
        identities.push_back(connection->identity());
    if (output.isJson)
        output.json({{"modules", identities}, {"document", document}});
    else
        output.document(document);
}

void topology(CommandOutput& output, const TopologyArguments& arguments)
{
    std::vector<ModuleTarget> targets;
    for (const auto& address : arguments.addresses)
        targets.push_back(ModuleTarget::parse(address));
    const StartedLibrary library;
    Connections connections;
    for (const auto& target : targets)
        connections.push_back(std::make_unique<ModuleConnection>(target));
    const std::string document =
        readText(*connections.front(), {.tried = "make the topology"}, ZEL_XSTAT_GetTopologyString);
    if (arguments.isXml) {
        showTopologyDocument(output, connections, document);
        return;
    }
    pugi::xml_document parsed;
    parsed.load_buffer(document.data(), document.size());
    TextTable table({{"Address"}, {"Name"}, {"UUID"}, {"Type", Align::right}});
    auto entries = nlohmann::json::array();
    for (const auto leaf : parsed.document_element().children("Leaf")) {
        const std::uint64_t uuid = leaf.child("Uuid").text().as_ullong();
        const auto type = leaf.child("DevType").text().as_uint();
        const auto found =
            std::ranges::find(connections, uuid, [](const auto& one) { return one->uuid(); });
        if (found == connections.end())
            continue; // lost meanwhile
        const std::string name = moduleName(**found);
        table.addRow({(*found)->address(), name, hexadecimal(uuid), std::to_string(type)});
        entries.push_back((*found)->identity());
        entries.back().update({{"name", name}, {"deviceType", type}});
    }
    if (output.isJson)
        output.json({{"modules", entries}});
    else
        output.table(table, "no module is connected any more");
}

void addStateCommand(CLI::App& app, Application& application, const CommandText& text,
                     void (*function)(CommandOutput&, const StateArguments&))
{
    auto& command = addCommand(app, text);
    const auto arguments = std::make_shared<StateArguments>();
    addAddressArgument(command, arguments->address);
    whenChosen(command, application, arguments, function);
}

} // namespace

void addStatusCommands(CLI::App& app, Application& application)
{
    addStateCommand(app, application,
                    {.name = "errors",
                     .group = kGroup,
                     .description = "List a module's errors",
                     .examples = "  zel errors 192.168.169.20"},
                    errors);
    addStateCommand(app, application,
                    {.name = "status",
                     .group = kGroup,
                     .description = "List a module's status values",
                     .examples = "  zel status 192.168.169.20 --json"},
                    status);
    addStateCommand(app, application,
                    {.name = "modules",
                     .group = kGroup,
                     .description = "List the modules that are connected to a module",
                     .examples = "  zel modules 192.168.169.20"},
                    modules);
    auto& command =
        addCommand(app, {.name = "topology",
                         .group = kGroup,
                         .description = "Connect to modules and list what the library has of them",
                         .examples = "  zel topology 192.168.169.20 192.168.169.21"});
    const auto arguments = std::make_shared<TopologyArguments>();
    command.add_option("ADDRESS", arguments->addresses, "Modules, each by address, name or UUID")
        ->required();
    addXmlFlag(command, arguments->isXml);
    whenChosen(command, application, arguments, topology);
}

} // namespace zel::cli
