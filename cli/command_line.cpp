#include "command_line.h"

#include "help_formatter.h"
#include "module_address.h"
#include "suggestions.h"

#include <algorithm>

namespace zel::cli {

namespace {

constexpr auto kDescription =
    "zel - talk to networked measurement-amplifier modules from the command line";

constexpr auto kFooter = R"(Examples:
  zel get 192.168.169.20 System/Name
  zel set 192.168.169.20 System/Name "Test stand 3"
  zel xml 192.168.169.20 --view 5 > setup.xml
  zel text 0xFFF07F1D

'zel COMMAND --help' explains one command. The exit code is 0 when the command did its
work, else 1; what went wrong is told on standard error.)";

void addHelpCommand(CLI::App& app, Application& application);

void defineCommandLine(CLI::App& app, Application& application)
{
    app.name("zel");
    app.formatter(std::make_shared<HelpFormatter>());
    app.set_help_flag("-h,--help", "Show this help");
    // With two commands on a line the values of the first could be taken for the second.
    app.require_subcommand(0, 1);
    app.fallthrough();
    // Off on Windows too: paths and XPaths begin with a slash.
    app.allow_windows_style_options(false);
    app.add_flag("--json", application.output.isJson,
                 "Print the result, or the error, as one line of JSON on standard output");
    app.add_flag("--pretty", application.output.isPretty,
                 "Indent documents also when they go into a file or a pipe");
    app.add_flag("--log{all}", application.log,
                 "Show the library's log on standard error; WHAT is transactions, measurement, "
                 "system or a mask in hexadecimal when not all of it is wanted")
        ->option_text("WHAT");
    app.set_version_flag("--version", "", "Show the library's version");
    addNetworkCommands(app, application);
    addParameterCommands(app, application);
    addDocumentCommands(app, application);
    addTedsCommands(app, application);
    addControlCommands(app, application);
    addStatusCommands(app, application);
    addValueCommands(app, application);
    addRecordCommand(app, application);
    addFileCommands(app, application);
    addFirmwareCommands(app, application);
    addSystemCommands(app, application);
    addUnitCommands(app, application);
    addTextCommands(app, application);
    addHelpCommand(app, application);
    app.footer(kFooter);
}

/// The innermost command that the command line named.
const CLI::App& chosenCommand(const CLI::App& app)
{
    const CLI::App* command = &app;
    while (!command->get_subcommands().empty())
        command = command->get_subcommands().front();
    return *command;
}

std::string fullName(const CLI::App& command)
{
    const CLI::App* const parent = command.get_parent();
    return parent == nullptr ? command.get_name() : fullName(*parent) + " " + command.get_name();
}

std::string helpFor(const CLI::App& command)
{
    // CLI::App::help() would show the command that is being run instead of the one that is meant.
    const std::string help =
        command.get_formatter()->make_help(&command, fullName(command), CLI::AppFormatMode::Normal);
    return help.ends_with('\n') ? help : help + '\n';
}

std::vector<std::string> namesOfCommands(const CLI::App& app)
{
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands({}))
        names.push_back(command->get_name());
    return names;
}

std::vector<std::string> namesOfOptions(const CLI::App& command)
{
    std::vector<std::string> names;
    for (const CLI::App* app = &command; app != nullptr; app = app->get_parent()) {
        for (const CLI::Option* option : app->get_options())
            for (const auto& name : option->get_lnames())
                names.push_back("--" + name);
    }
    return names;
}

/// What a person meant who typed a word that this command line does not know.
CommandFailure unknownWord(const CLI::App& command, const std::string& word)
{
    const bool isOption = word.starts_with('-');
    const auto names = isOption ? namesOfOptions(command) : namesOfCommands(command);
    const bool isCommand = !isOption && !names.empty();
    const std::string closest = closestTo(word, names);
    const std::string help = "'" + fullName(command) + " --help' lists what there is";
    const std::string problem =
        isCommand ? "'" + word + "' is no command of " + fullName(command)
                  : "'" + fullName(command) + "' does not know what to do with '" + word + "'";
    return CommandFailure(
        {.problem = problem,
         .advice = closest.empty() ? help : "did you mean '" + closest + "'? " + help});
}

void addHelpCommand(CLI::App& app, Application& application)
{
    auto& command = addCommand(app, {.name = "help",
                                     .group = "Library",
                                     .description = "List the commands, or explain one",
                                     .examples = "  zel help get\n  zel help teds read"});
    const auto words = std::make_shared<std::vector<std::string>>();
    command.add_option("COMMAND", *words, "Command to explain; without it all are listed");
    command.callback([&app, &application, words] {
        const CLI::App* named = &app;
        for (const auto& word : *words) {
            const CLI::App* const parent = named;
            const auto below = parent->get_subcommands(
                [&word](const CLI::App* one) { return one->get_name() == word; });
            if (below.empty())
                throw unknownWord(*parent, word);
            named = below.front();
        }
        application.work = [&application, help = helpFor(*named)] {
            application.output.bytes(help);
        };
    });
}

/// Throws for options like `--section "$NAME"` whose variable is not set: without the value the
/// command would do something else.
void refuseEmptyOptions(const CLI::App& app)
{
    for (const CLI::App* command = &chosenCommand(app); command != nullptr;
         command = command->get_parent()) {
        for (const CLI::Option* option : command->get_options()) {
            const auto& given = option->results();
            if (!option->get_lnames().empty() && std::ranges::find(given, "") != given.end()) {
                throw CommandFailure(
                    {.problem = "--" + option->get_lnames().front() + " is given without a value",
                     .advice = "leave it out, or is a variable of the shell not set?"});
            }
        }
    }
}

CommandFailure misuse(const CLI::App& app, const CLI::ParseError& error)
{
    const CLI::App& command = chosenCommand(app);
    const auto unknown = app.remaining(true);
    if (!unknown.empty())
        return unknownWord(command, unknown.front());
    const bool isCommand = command.get_parent() != nullptr;
    const std::string name = isCommand ? fullName(command).substr(app.get_name().size() + 1) : "";
    return CommandFailure({.problem = (isCommand ? name + ": " : "") + error.what(),
                           .advice = "'" + fullName(command) + " --help' explains the command"});
}

} // namespace

CLI::App& addCommand(CLI::App& parent, const CommandText& text)
{
    CLI::App& command = *parent.add_subcommand(text.name, text.description);
    command.group(text.group);
    command.footer((text.examples.empty() ? "" : "Examples:\n" + text.examples + "\n\n") +
                   "Every command also takes --json, --pretty and --log ('zel --help').");
    return command;
}

void addAddressArgument(CLI::App& command, std::string& address)
{
    command
        .add_option("ADDRESS", address,
                    "Module: HOST or HOST:PORT (port " + std::to_string(kModulePort) +
                        " when left out, an IPv6 address in brackets); or its name or UUID, which "
                        "a scan looks for")
        ->required();
}

void addXmlFlag(CLI::App& command, bool& isXml)
{
    command.add_flag("--xml", isXml, "Show the document itself, as it came");
}

void addViewOption(CLI::App& command, std::uint32_t& view)
{
    command.add_option("--view", view, "Number of the parameter view (default 1)")
        ->option_text("N");
}

std::string viewText(std::uint32_t view)
{
    return "(view " + std::to_string(view) + ")";
}

std::string asArgument(const std::string& text)
{
    return text.find(' ') == std::string::npos ? text : '"' + text + '"';
}

std::string documentHint(const std::string& address, std::uint32_t view)
{
    return "'zel xml " + asArgument(address) + " --view " + std::to_string(view) +
           "' shows the names and values of this view";
}

std::string schemaHint(const std::string& address, std::uint32_t view, const std::string& section)
{
    // A path with predicates would need quoting that differs between shells.
    const bool isPlain = section.find_first_of("[]'\"@ ") == std::string::npos;
    return "'zel schema " + asArgument(address) + " --view " + std::to_string(view) +
           (section.empty() || !isPlain ? "" : " --section " + section) +
           "' shows what the module accepts";
}

std::string viewsHint(const std::string& address)
{
    return "'zel views " + asArgument(address) + "' lists the views, 'zel xml " +
           asArgument(address) + " --view N' shows the names in one";
}

void parseCommandLine(Application& application, const std::vector<std::string>& arguments)
{
    CLI::App app(kDescription);
    defineCommandLine(app, application);
    // The parser takes the words from the end of the list.
    std::vector<std::string> words(arguments.rbegin(), arguments.rend());
    try {
        app.parse(std::move(words));
    } catch (const CLI::CallForHelp&) {
        application.work = nullptr;
    } catch (const CLI::CallForVersion&) {
        application.work = [&application] { showVersion(application.output); };
    } catch (const CLI::ParseError& error) {
        throw misuse(app, error);
    }
    refuseEmptyOptions(app);
    if (!application.work) {
        application.work = [&application, help = helpFor(chosenCommand(app))] {
            application.output.bytes(help);
        };
    }
}

} // namespace zel::cli
