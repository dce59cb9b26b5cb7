#pragma once

#include "command_output.h"

#include <functional>
#include <map>
#include <memory>
#include <string>

#include <CLI/CLI.hpp>

namespace zel::cli {

/// What the commands share. Parsing the command line chooses the work; it runs afterwards, so that
/// a faulty command line never starts the library.
struct Application {
    CommandOutput output;
    std::string log;
    std::function<void()> work;
};

/// Makes the command, once chosen, run the function with the arguments that it was given.
template <class Arguments>
void whenChosen(CLI::App& command, Application& application, std::shared_ptr<Arguments> arguments,
                void (*function)(CommandOutput&, const Arguments&))
{
    command.callback([&application, arguments, function] {
        application.work = [&application, arguments, function] {
            function(application.output, *arguments);
        };
    });
}

struct CommandText {
    std::string name;
    std::string group;
    std::string description; ///< the first line stands in the list of commands
    std::string examples;    ///< whole lines, indented by two blanks
};

void showVersion(CommandOutput& output);

CLI::App& addCommand(CLI::App& parent, const CommandText& text);
void addAddressArgument(CLI::App& command, std::string& address);
void addXmlFlag(CLI::App& command, bool& isXml);
void addViewOption(CLI::App& command, std::uint32_t& view);

std::string viewText(std::uint32_t view);

/// As it has to be typed: the names of modules may hold blanks.
std::string asArgument(const std::string& text);

// What to do next when a module refuses.
std::string documentHint(const std::string& address, std::uint32_t view);
std::string schemaHint(const std::string& address, std::uint32_t view, const std::string& section);
std::string viewsHint(const std::string& address);

// One function and one source file for each family of commands.
void addParameterCommands(CLI::App& app, Application& application);
void addDocumentCommands(CLI::App& app, Application& application);
void addTedsCommands(CLI::App& app, Application& application);
void addControlCommands(CLI::App& app, Application& application);
void addStatusCommands(CLI::App& app, Application& application);
void addNetworkCommands(CLI::App& app, Application& application);
void addNetCommands(CLI::App& app, Application& application);
void addValueCommands(CLI::App& app, Application& application);
void addRecordCommand(CLI::App& app, Application& application);
void addFileCommands(CLI::App& app, Application& application);
void addFirmwareCommands(CLI::App& app, Application& application);
void addSystemCommands(CLI::App& app, Application& application);
void addUnitCommands(CLI::App& app, Application& application);
void addTextCommands(CLI::App& app, Application& application);

} // namespace zel::cli
