// zel teds read, write and status: the memory in a sensor's plug.

#include "application.h"
#include "file_content.h"
#include "module_session.h"
#include "number_text.h"
#include "printable.h"
#include "signal_numbers.h"

#include <nlohmann/json.hpp>

namespace zel::cli {

namespace {

struct TedsArguments {
    std::string address;
    std::uint32_t connector = 0;
    std::string file;
    bool mayReplace = false;
};

std::string connectorText(const TedsArguments& arguments)
{
    return "connector " + std::to_string(arguments.connector);
}

/// Sixteen bytes to a line, with their place and the letters among them.
std::string hexDump(std::string_view data)
{
    constexpr std::size_t kLine = 16;
    std::string text;
    for (std::size_t start = 0; start < data.size(); start += kLine) {
        const auto bytes = data.substr(start, kLine);
        std::string digits;
        std::string letters;
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            digits += hexDigits(bytes.substr(i, 1)) + (i == 7 ? "  " : " ");
            letters += bytes[i] >= ' ' && bytes[i] <= '~' ? bytes[i] : '.';
        }
        digits.resize(kLine * 3 + 1, ' ');
        text += hexadecimal(static_cast<std::int32_t>(start)).substr(6) + "  " + digits + " " +
                letters + '\n';
    }
    return text;
}

void read(CommandOutput& output, const TedsArguments& arguments)
{
    requireConnector(arguments.connector);
    if (!arguments.file.empty())
        requireNewFile(arguments.file, arguments.mayReplace);
    const ModuleSession session(arguments.address);
    const Teds teds =
        session.ask({"read the TEDS of " + connectorText(arguments)},
                    [&](const Module& module) { return module.teds(arguments.connector); });
    const std::string& data = teds.data;
    if (!arguments.file.empty())
        writeHostFile(arguments.file, data);
    if (output.isJson) {
        output.json(session.identity(), {{"connector", arguments.connector},
                                         {"tid", teds.identifier},
                                         {"data", hexDigits(data)}});
        return;
    }
    output.value("TEDS " + teds.identifier + ", " + byteCount(data.size()) +
                 (arguments.file.empty() ? "" : ", in " + arguments.file));
    if (arguments.file.empty())
        output.bytes(hexDump(data));
}

void write(CommandOutput& output, const TedsArguments& arguments)
{
    requireConnector(arguments.connector);
    const std::string data = readHostFile(arguments.file);
    if (data.empty()) {
        throw CommandFailure({.problem = "the file " + arguments.file + " is empty",
                              .advice = "a TEDS image has at least one byte"});
    }
    const ModuleSession session(arguments.address);
    const std::string identifier = session.ask(
        {"write " + byteCount(data.size()) + " to the TEDS of " + connectorText(arguments)},
        [&](Module& module) { return module.writeTeds(arguments.connector, data); });
    if (output.isJson) {
        output.json(
            session.identity(),
            {{"connector", arguments.connector}, {"tid", identifier}, {"written", data.size()}});
    } else {
        output.value("wrote " + byteCount(data.size()) + " to TEDS " + identifier);
    }
}

void status(CommandOutput& output, const TedsArguments& arguments)
{
    requireConnector(arguments.connector);
    const ModuleSession session(arguments.address);
    const TedsStatus texts =
        session.ask({"read the TEDS status of " + connectorText(arguments)},
                    [&](const Module& module) { return module.tedsStatus(arguments.connector); });
    if (output.isJson) {
        output.json(session.identity(), {{"connector", arguments.connector},
                                         {"status", texts.status},
                                         {"error", texts.error},
                                         {"warning", texts.warning}});
        return;
    }
    TextTable table(
        {{"Connector", Align::right}, {"Status", Align::right}, {"Error"}, {"Warning"}});
    table.addRow({std::to_string(arguments.connector), std::to_string(texts.status),
                  texts.error.empty() ? "-" : trimmed(texts.error),
                  texts.warning.empty() ? "-" : trimmed(texts.warning)});
    output.table(table, "");
}

void addRead(CLI::App& teds, Application& application)
{
    auto& command = addCommand(teds, {.name = "read",
                                      .group = "Commands",
                                      .description = "Read the TEDS of a connector's sensor",
                                      .examples = "  zel teds read 192.168.169.20 1\n"
                                                  "  zel teds read 192.168.169.20 1 sensor.bin"});
    const auto arguments = std::make_shared<TedsArguments>();
    addAddressArgument(command, arguments->address);
    command.add_option("CONNECTOR", arguments->connector, kConnectorHelp)->required();
    command.add_option("FILE", arguments->file, "File for the bytes; without it they are shown");
    command.add_flag("--force", arguments->mayReplace, "Replace a file that is there");
    whenChosen(command, application, arguments, read);
}

void addWrite(CLI::App& teds, Application& application)
{
    auto& command = addCommand(teds, {.name = "write",
                                      .group = "Commands",
                                      .description = "Write the TEDS of a connector's sensor",
                                      .examples = "  zel teds write 192.168.169.20 1 sensor.bin"});
    const auto arguments = std::make_shared<TedsArguments>();
    addAddressArgument(command, arguments->address);
    command.add_option("CONNECTOR", arguments->connector, kConnectorHelp)->required();
    command.add_option("FILE", arguments->file, "File with the bytes; '-' is standard input")
        ->required();
    whenChosen(command, application, arguments, write);
}

void addStatus(CLI::App& teds, Application& application)
{
    auto& command = addCommand(teds, {.name = "status",
                                      .group = "Commands",
                                      .description = "Tell the state of a connector's TEDS",
                                      .examples = "  zel teds status 192.168.169.20 1"});
    const auto arguments = std::make_shared<TedsArguments>();
    addAddressArgument(command, arguments->address);
    command.add_option("CONNECTOR", arguments->connector, kConnectorHelp)->required();
    whenChosen(command, application, arguments, status);
}

} // namespace

void addTedsCommands(CLI::App& app, Application& application)
{
    auto& teds = addCommand(app, {.name = "teds",
                                  .group = "Sensors",
                                  .description = "Read and write sensors' TEDS memory",
                                  .examples = ""});
    teds.require_subcommand(0, 1);
    addRead(teds, application);
    addWrite(teds, application);
    addStatus(teds, application);
}

} // namespace zel::cli
