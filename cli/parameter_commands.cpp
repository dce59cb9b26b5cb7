// zel get, set and default: parameters one by one.

#include "application.h"
#include "console.h"
#include "module_session.h"
#include "number_text.h"
#include "printable.h"

#include <nlohmann/json.hpp>

namespace zel::cli {

namespace {

constexpr auto kGroup = "Parameters";

struct GetArguments {
    std::string address;
    std::string path;
    std::uint32_t view = 1;
};

struct SetArguments : GetArguments {
    std::string value;
    std::string type = "text";
};

struct DefaultArguments {
    std::string address;
    std::string xpath;
    std::uint32_t view = 1;
    bool isAll = false;
    bool isAgreed = false;
};

/// Throws where a person, asked whether to reset a whole module, does not say yes.
void requireAgreement(const ModuleSession& session)
{
    const std::string name = moduleName(session);
    const auto answer =
        askPerson(printable("Reset all parameters of " + name + (name.empty() ? "" : " (") +
                            session.address() + (name.empty() ? "" : ")") + "? [y/N] "));
    if (answer && *answer != "y" && *answer != "Y" && *answer != "yes")
        throw CommandFailure({.problem = "nothing was reset", .advice = "'y' or --yes resets"});
}

void get(CommandOutput& output, const GetArguments& arguments)
{
    const ModuleSession session(arguments.address);
    const std::string value = session.ask(
        {.tried = "read " + arguments.path + " " + viewText(arguments.view),
         .advice = documentHint(arguments.address, arguments.view)},
        [&](const Module& module) { return module.get(arguments.path, arguments.view); });
    if (output.isJson) {
        output.json(session.identity(),
                    {{"view", arguments.view}, {"path", arguments.path}, {"value", value}});
    } else {
        output.value(value);
    }
}

[[noreturn]] void refuseValue(const SetArguments& arguments, const std::string& kind)
{
    throw CommandFailure({.problem = "'" + arguments.value + "' is no " + kind,
                          .advice = "without '--as " + arguments.type +
                                    "' the value is sent as text, as it stands"});
}

void checkValue(const SetArguments& arguments)
{
    if (arguments.type == "int" && !wholeNumber<std::int32_t>(arguments.value))
        refuseValue(arguments, "whole number from -2147483648 to 2147483647");
    if (arguments.type == "double" && !decimalNumber(arguments.value))
        refuseValue(arguments, "number (with '.' before the decimals)");
}

void write(Module& module, const SetArguments& arguments)
{
    if (arguments.type == "int")
        module.set(arguments.path, wholeNumber<std::int32_t>(arguments.value).value(),
                   arguments.view);
    else if (arguments.type == "double")
        module.set(arguments.path, decimalNumber(arguments.value).value(), arguments.view);
    else
        module.set(arguments.path, arguments.value, arguments.view);
}

/// The value that the module has now; the one that was sent where it does not tell.
std::string valueNow(const Module& module, const SetArguments& arguments)
{
    try {
        return module.get(arguments.path, arguments.view);
    } catch (const Error&) {
        return arguments.value;
    }
}

void set(CommandOutput& output, const SetArguments& arguments)
{
    checkValue(arguments);
    const ModuleSession session(arguments.address);
    session.ask({.tried = "set " + arguments.path + " to '" + arguments.value + "' " +
                          viewText(arguments.view),
                 .advice = schemaHint(arguments.address, arguments.view, arguments.path),
                 .answer = Answer::words},
                [&](Module& module) { write(module, arguments); });
    nlohmann::json result{{"view", arguments.view},
                          {"path", arguments.path},
                          {"as", arguments.type},
                          {"written", arguments.value}};
    // A module that warns may have taken another value than it was sent.
    const std::string value =
        session.hasWarned() ? valueNow(session.module(), arguments) : arguments.value;
    if (session.hasWarned())
        result["value"] = value;
    if (output.isJson)
        output.json(session.identity(), result);
    else
        output.value(arguments.path + " = " + value);
}

void setDefault(CommandOutput& output, const DefaultArguments& arguments)
{
    if (arguments.isAll == !arguments.xpath.empty()) {
        throw CommandFailure(
            {.problem = arguments.isAll ? "an XPATH and --all contradict each other"
                                        : "it is not said what is to be reset",
             .advice = "give an XPATH to reset what it selects, or --all to reset everything"});
    }
    const ModuleSession session(arguments.address);
    if (arguments.isAll && !arguments.isAgreed)
        requireAgreement(session);
    const std::string what =
        arguments.isAll ? "all parameters" : arguments.xpath + " " + viewText(arguments.view);
    session.ask({.tried = "reset " + what,
                 .advice = documentHint(arguments.address, arguments.view),
                 .answer = Answer::words},
                [&](Module& module) {
                    if (arguments.isAll)
                        module.resetAll();
                    else
                        module.reset(arguments.xpath, arguments.view);
                });
    if (output.isJson)
        output.json(session.identity(), {{"reset", arguments.isAll ? "all" : arguments.xpath}});
    else
        output.value("reset " + what + " to the default");
}

void addPathArgument(CLI::App& command, std::string& path)
{
    command
        .add_option("PATH", path,
                    "Parameter: element names joined by '/', for example System/Name or "
                    "'Amplifier/Connector[@address=\"1\"]/Mode'")
        ->required();
}

void addGet(CLI::App& app, Application& application)
{
    auto& command = addCommand(app, {.name = "get",
                                     .group = kGroup,
                                     .description = "Read one parameter",
                                     .examples = "  zel get 192.168.169.20 System/Name"});
    const auto arguments = std::make_shared<GetArguments>();
    addAddressArgument(command, arguments->address);
    addPathArgument(command, arguments->path);
    addViewOption(command, arguments->view);
    whenChosen(command, application, arguments, get);
}

void addSet(CLI::App& app, Application& application)
{
    auto& command =
        addCommand(app, {.name = "set",
                         .group = kGroup,
                         .description = "Write one parameter",
                         .examples = "  zel set 192.168.169.20 System/Name \"Test stand 3\"\n"
                                     "  zel set 192.168.169.20 Amplifier/Range "
                                     "2.5 --as double"});
    const auto arguments = std::make_shared<SetArguments>();
    addAddressArgument(command, arguments->address);
    addPathArgument(command, arguments->path);
    command
        .add_option("VALUE", arguments->value,
                    "New value; text that starts with '-' needs '--' before it")
        ->required();
    command
        .add_option("--as", arguments->type,
                    "How to send the value: text as it stands (default), or as a number, which is "
                    "checked here and sent as the modules expect numbers")
        ->check(CLI::IsMember({"text", "int", "double"}))
        ->option_text("text|int|double");
    addViewOption(command, arguments->view);
    whenChosen(command, application, arguments, set);
}

void addDefault(CLI::App& app, Application& application)
{
    auto& command =
        addCommand(app, {.name = "default",
                         .group = kGroup,
                         .description = "Reset parameters to their defaults",
                         .examples = "  zel default 192.168.169.20 \"//Connector[@address='1']\"\n"
                                     "  zel default 192.168.169.20 --all"});
    const auto arguments = std::make_shared<DefaultArguments>();
    addAddressArgument(command, arguments->address);
    command.add_option("XPATH", arguments->xpath, "What to reset: an XPath into the view");
    auto* const all =
        command.add_flag("--all", arguments->isAll, "Reset every parameter of the module");
    command.add_flag("--yes", arguments->isAgreed, "Do not ask before resetting everything")
        ->needs(all);
    addViewOption(command, arguments->view);
    whenChosen(command, application, arguments, setDefault);
}

} // namespace

void addParameterCommands(CLI::App& app, Application& application)
{
    addGet(app, application);
    addSet(app, application);
    addDefault(app, application);
}

} // namespace zel::cli
