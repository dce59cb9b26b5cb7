// zel teds read, write and status: the memory in a sensor's plug.

#include "application.h"
#include "file_content.h"
#include "module_session.h"
#include "number_text.h"
#include "printable.h"
#include "signal_numbers.h"
#include "text_reading.h"

#include <array>

#include <nlohmann/json.hpp>

namespace zel::cli {

namespace {

struct TedsArguments {
    std::string address;
    std::uint32_t connector = 0;
    std::string file;
    bool mayReplace = false;
};

using TedsIdentifier = std::array<char, 17>;

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
    TedsIdentifier identifier{};
    const std::string data =
        readText(session, {.tried = "read the TEDS of " + connectorText(arguments)},
                 [&](char* buffer, std::uint64_t* length, std::uint64_t capacity) {
                     return ZEL_XPAR_ReadTedsBinary(session.uuid(), arguments.connector,
                                                    identifier.data(), buffer, length, capacity);
                 });
    if (!arguments.file.empty())
        writeHostFile(arguments.file, data);
    if (output.isJson) {
        output.json(session.identity(), {{"connector", arguments.connector},
                                         {"tid", identifier.data()},
                                         {"data", hexDigits(data)}});
        return;
    }
    output.value("TEDS " + std::string(identifier.data()) + ", " + byteCount(data.size()) +
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
    TedsIdentifier identifier{};
    session.checkReading(ZEL_XPAR_WriteTedsBinary(session.uuid(), arguments.connector,
                                                  identifier.data(), data.data(), data.size()),
                         "write " + byteCount(data.size()) + " to the TEDS of " +
                             connectorText(arguments));
    if (output.isJson) {
        output.json(session.identity(), {{"connector", arguments.connector},
                                         {"tid", identifier.data()},
                                         {"written", data.size()}});
    } else {
        output.value("wrote " + byteCount(data.size()) + " to TEDS " + identifier.data());
    }
}

struct TedsTexts {
    std::uint32_t status = 0;
    std::string error;
    std::string warning;
};

TedsTexts readStatus(const ModuleSession& session, std::uint32_t connector)
{
    constexpr std::uint64_t kLargestText = 1U << 24U;
    TedsTexts texts;
    std::uint64_t errorLength = 1023;
    std::uint64_t warningLength = 1023;
    std::int32_t code = ZEL_SRV_BUFFER_TOO_SMALL;
    for (int attempt = 0; attempt < 3 && code == ZEL_SRV_BUFFER_TOO_SMALL; ++attempt) {
        texts.error.assign(std::min(errorLength, kLargestText) + 1, '\0');
        texts.warning.assign(std::min(warningLength, kLargestText) + 1, '\0');
        // This export counts from 0, those that read and write from 1.
        code = ZEL_XSTAT_GetTedsStatus(session.uuid(), connector - 1, &texts.status,
                                       texts.error.data(), &errorLength, texts.error.size(),
                                       texts.warning.data(), &warningLength, texts.warning.size());
    }
    session.checkReading(code, "read the TEDS status of connector " + std::to_string(connector));
    texts.error.resize(errorLength);
    texts.warning.resize(warningLength);
    return texts;
}

void status(CommandOutput& output, const TedsArguments& arguments)
{
    requireConnector(arguments.connector);
    const ModuleSession session(arguments.address);
    const TedsTexts texts = readStatus(session, arguments.connector);
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
