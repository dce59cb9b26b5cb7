// zel errors, status, modules and topology: how the modules are.

#include "application.h"
#include "module_session.h"
#include "number_text.h"

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

/// Where an error or a status belongs, numbered from 1.
std::string numberText(std::uint32_t number)
{
    return number == 0 ? "-" : std::to_string(number);
}

std::string errorText(const ModuleError& error)
{
    return error.text.empty() ? StartedLibrary::textOf(error.code) : error.text;
}

/// The library keeps no more entries than its list takes and does not tell about the rest.
std::string fullListNote(std::size_t count)
{
    return count < ZEL_LIST_SIZE_EX ? "" : "the list is full: the module may have more";
}

void errors(CommandOutput& output, const StateArguments& arguments)
{
    const ModuleSession session(arguments.address);
    const auto errors =
        session.ask({"read the errors"}, [](const Module& module) { return module.errors(); });
    TextTable table({{"Level", Align::right},
                     {"Code", Align::right},
                     {"Connector", Align::right},
                     {"Channel", Align::right},
                     {"Signal", Align::right},
                     {"Text"}});
    auto entries = nlohmann::json::array();
    for (const ModuleError& error : errors) {
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
        output.table(table, "no errors", fullListNote(errors.size()));
}

void status(CommandOutput& output, const StateArguments& arguments)
{
    const ModuleSession session(arguments.address);
    const auto values =
        session.ask({"read the status"}, [](const Module& module) { return module.status(); });
    TextTable table({{"Connector", Align::right},
                     {"Channel", Align::right},
                     {"Signal", Align::right},
                     {"Status", Align::right},
                     {"Value", Align::right},
                     {"Info"}});
    auto entries = nlohmann::json::array();
    for (const StatusValue& entry : values) {
        table.addRow({numberText(entry.connector), numberText(entry.channel),
                      numberText(entry.signal), std::to_string(entry.statusId),
                      std::to_string(entry.value), entry.info});
        entries.push_back({{"connector", entry.connector},
                           {"channel", entry.channel},
                           {"signal", entry.signal},
                           {"statusId", entry.statusId},
                           {"value", std::to_string(entry.value)},
                           {"info", entry.info}});
    }
    if (output.isJson)
        output.json(session.identity(), {{"status", entries}});
    else
        output.table(table, "the module reports no status", fullListNote(values.size()));
}

void modules(CommandOutput& output, const StateArguments& arguments)
{
    const ModuleSession session(arguments.address);
    TextTable table({{"UUID"}, {"Type", Align::right}, {"Interface", Align::right}});
    auto entries = nlohmann::json::array();
    for (const ZEL_ConnectedModule module :
         session.ask({"list the connected modules"},
                     [](const Module& one) { return one.connectedModules(); })) {
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
        targets.push_back(moduleTarget(address));
    const StartedLibrary library;
    Connections connections;
    for (const auto& target : targets)
        connections.push_back(std::make_unique<ModuleConnection>(target));
    const std::string document = connections.front()->ask(
        {"make the topology"}, [](const Module&) { return zel::topology(); });
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
