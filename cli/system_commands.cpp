// zel file, restart and debug: a module as a machine.

#include "application.h"
#include "file_content.h"
#include "interrupt.h"
#include "module_session.h"
#include "number_text.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <vector>

#include <nlohmann/json.hpp>

namespace zel::cli {

namespace {

constexpr auto kGroup = "System";

struct FileArguments {
    std::string address;
    std::string moduleFile;
    std::string hostFile;
    bool isForced = false;
};

struct RestartArguments {
    std::string address;
    std::uint32_t waitSeconds = 0;
};

struct DebugArguments {
    std::string address;
    std::uint32_t id = 0;
    std::vector<std::string> parameters;
};

void reportCopy(CommandOutput& output, const ModuleSession& session, const FileArguments& arguments,
                const std::string& from, const std::string& to)
{
    std::error_code error;
    const auto size = std::filesystem::file_size(hostPath(arguments.hostFile), error);
    if (output.isJson) {
        output.json(session.identity(), {{"moduleFile", arguments.moduleFile},
                                         {"hostFile", arguments.hostFile},
                                         {"bytes", error ? 0 : size}});
    } else {
        output.value("copied " + from + " to " + to + (error ? "" : " (" + byteCount(size) + ")"));
    }
}

void getFile(CommandOutput& output, const FileArguments& given)
{
    FileArguments arguments = given;
    if (arguments.hostFile.empty())
        arguments.hostFile = given.moduleFile.substr(given.moduleFile.find_last_of("/\\") + 1);
    if (arguments.hostFile.empty()) {
        throw CommandFailure({.problem = "'" + given.moduleFile + "' names no file",
                              .advice = "name the file to write as HOSTFILE"});
    }
    requireNewFile(arguments.hostFile, arguments.isForced);
    const ModuleSession session(arguments.address);
    session.ask(
        {"copy " + arguments.moduleFile + " to " + arguments.hostFile},
        [&](const Module& module) { module.readFile(arguments.moduleFile, arguments.hostFile); });
    reportCopy(output, session, arguments, arguments.moduleFile, arguments.hostFile);
}

void putFile(CommandOutput& output, const FileArguments& arguments)
{
    requireCopyableFile(arguments.hostFile);
    const ModuleSession session(arguments.address);
    session.ask(
        {.tried = "copy " + arguments.hostFile + " to " + arguments.moduleFile,
         .answer = Answer::words},
        [&](Module& module) { module.writeFile(arguments.hostFile, arguments.moduleFile); });
    reportCopy(output, session, arguments, arguments.hostFile, arguments.moduleFile);
}

/// Whether the module answers again before the time is over.
bool comesBack(const Address& address, std::chrono::seconds time)
{
    using Clock = std::chrono::steady_clock;
    constexpr std::chrono::milliseconds kPause{500};
    const auto end = Clock::now() + time;
    while (Clock::now() < end) {
        // Also before the first attempt: a module goes on answering until it goes down.
        std::this_thread::sleep_for(kPause);
        stopIfInterrupted();
        try {
            const ModuleConnection connection(address);
            return true;
        } catch (const CommandFailure&) {
            // Not yet.
        }
    }
    return false;
}

void restart(CommandOutput& output, const RestartArguments& arguments)
{
    const ModuleTarget target = moduleTarget(arguments.address);
    const StartedLibrary library;
    Address address;
    nlohmann::json identity;
    bool hasAnswered = true;
    {
        const ModuleConnection module(target);
        address = module.reached();
        const std::int32_t code = ZEL_XSYS_DoRestartSystem(module.uuid(), 0, 0);
        hasAnswered = !isSilence(code);
        if (hasAnswered)
            module.check(code, "restart the module");
        identity = module.identity();
    }
    const std::chrono::seconds wait(arguments.waitSeconds);
    const bool isWaiting = arguments.waitSeconds > 0;
    if (isWaiting && !comesBack(address, wait)) {
        throw CommandFailure({.problem = address.text() +
                                         " was restarted but did not come back in " +
                                         duration(arguments.waitSeconds),
                              .advice = "it may need longer, or have another address now"});
    }
    if (output.isJson) {
        output.json(identity,
                    {{"restarted", true}, {"answered", hasAnswered}, {"isBack", isWaiting}});
    } else {
        output.value(address.text() + (isWaiting ? " was restarted and is back" : " restarts") +
                     (hasAnswered ? "" : "; it gave no answer, like modules that go down at once"));
    }
}

void debug(CommandOutput& output, const DebugArguments& arguments)
{
    const ModuleSession session(arguments.address);
    const std::string answer = session.ask(
        {"read the debug information " + std::to_string(arguments.id)},
        [&](const Module& module) { return module.debugInfo(arguments.id, arguments.parameters); });
    if (output.isJson)
        output.json(session.identity(), {{"id", arguments.id}, {"answer", answer}});
    else
        output.document(answer);
}

void addFile(CLI::App& app, Application& application)
{
    auto& file = addCommand(app, {.name = "file",
                                  .group = kGroup,
                                  .description = "Copy files from and to a module",
                                  .examples = ""});
    file.require_subcommand(0, 1);

    auto& getCommand =
        addCommand(file, {.name = "get",
                          .group = "Commands",
                          .description = "Copy a file of a module to this host",
                          .examples = "  zel file get 192.168.169.20 log/events.txt events.txt"});
    const auto toGet = std::make_shared<FileArguments>();
    addAddressArgument(getCommand, toGet->address);
    getCommand.add_option("MODULEFILE", toGet->moduleFile, "Path of the file on the module")
        ->required();
    getCommand.add_option("HOSTFILE", toGet->hostFile,
                          "File to write; without it the same name in the current folder");
    getCommand.add_flag("--force", toGet->isForced, "Replace a file that is there");
    whenChosen(getCommand, application, toGet, getFile);

    auto& putCommand =
        addCommand(file, {.name = "put",
                          .group = "Commands",
                          .description = "Copy a file of this host to a module",
                          .examples = "  zel file put 192.168.169.20 logo.png web/logo.png"});
    const auto toPut = std::make_shared<FileArguments>();
    addAddressArgument(putCommand, toPut->address);
    putCommand.add_option("HOSTFILE", toPut->hostFile, "File to read")->required();
    putCommand.add_option("MODULEFILE", toPut->moduleFile, "Path of the file on the module")
        ->required();
    whenChosen(putCommand, application, toPut, putFile);
}

void addRestart(CLI::App& app, Application& application)
{
    auto& command = addCommand(app, {.name = "restart",
                                     .group = kGroup,
                                     .description = "Restart a module",
                                     .examples = "  zel restart 192.168.169.20 --wait 120"});
    const auto arguments = std::make_shared<RestartArguments>();
    addAddressArgument(command, arguments->address);
    command
        .add_option("--wait", arguments->waitSeconds,
                    "Wait until it answers again, at most so long")
        ->check(CLI::Range(1, 86400))
        ->option_text("SECONDS");
    whenChosen(command, application, arguments, restart);
}

void addDebug(CLI::App& app, Application& application)
{
    auto& command = addCommand(app, {.name = "debug",
                                     .group = kGroup,
                                     .description = "Read debug information of a module",
                                     .examples = "  zel debug 192.168.169.20 1"});
    const auto arguments = std::make_shared<DebugArguments>();
    addAddressArgument(command, arguments->address);
    command.add_option("ID", arguments->id, "Number of the information")->required();
    command.add_option("PARAMETERS", arguments->parameters, "Up to five texts that go with it")
        ->expected(0, 5);
    whenChosen(command, application, arguments, debug);
}

} // namespace

void addSystemCommands(CLI::App& app, Application& application)
{
    addFile(app, application);
    addRestart(app, application);
    addDebug(app, application);
}

} // namespace zel::cli
