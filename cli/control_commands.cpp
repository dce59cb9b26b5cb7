// zel controls, control, zero and led: what a module does on request.

#include "application.h"
#include "file_content.h"
#include "interrupt.h"
#include "module_session.h"
#include "number_text.h"
#include "printable.h"
#include "schema_table.h"
#include "signal_numbers.h"
#include "xml_layout.h"

#include <vector>

#include <nlohmann/json.hpp>
#include <pugixml.hpp>

namespace zel::cli {

namespace {

constexpr auto kGroup = "Controls";

struct ControlsArguments {
    std::string address;
    std::string name;
    bool isSchema = false;
    bool isStyleSheet = false;
    bool isXml = false;
};

struct ControlArguments {
    std::string address;
    std::string name;
    std::vector<std::string> parameters;
    std::string file;
};

struct ZeroArguments {
    std::string address;
    std::vector<std::string> signal;
    std::optional<double> target;
};

struct LedArguments {
    std::string address;
    std::uint32_t led = 0;
    std::uint32_t mode = 0;
};

std::string controlsHint(const std::string& address)
{
    const std::string module = asArgument(address);
    return "'zel controls " + module + "' lists the module's controls, 'zel controls " + module +
           " NAME' shows the parameters of one";
}

using ReadControl = std::string (Module::*)(const std::string&) const;

std::string readControl(const ModuleSession& session, const std::string& name,
                        const std::string& what, ReadControl read)
{
    return session.ask({.tried = "read the " + what + " of the control " + name,
                        .advice = controlsHint(session.address())},
                       [&](const Module& module) { return (module.*read)(name); });
}

void showDocument(CommandOutput& output, const ModuleSession& session, const std::string& control,
                  const std::string& document)
{
    if (output.isJson)
        output.json(session.identity(), {{"control", control}, {"document", document}});
    else
        output.document(document);
}

void listControls(CommandOutput& output, const ModuleSession& session, bool isXml)
{
    const std::string document =
        session.ask({.tried = "read the list of controls"},
                    [](const Module& module) { return module.controls(); });
    pugi::xml_document parsed;
    const bool isList = bool(parsed.load_buffer(document.data(), document.size()));
    TextTable table({{"Control"}, {"Parameters", Align::right}, {"Description"}});
    auto entries = nlohmann::json::array();
    for (const auto control : parsed.document_element().children("Control")) {
        const std::string name = control.attribute("name").value();
        const std::string count = control.attribute("parameters").value();
        const std::string description = trimmed(wholeText(control));
        table.addRow({name, count, description});
        entries.push_back({{"name", name}, {"description", description}});
        if (const auto parameters = wholeNumber<std::uint32_t>(count))
            entries.back()["parameters"] = *parameters;
    }
    // A list in a form that this program does not know is shown as it is.
    if (isXml || !isList || (table.isEmpty() && parsed.document_element().first_child()))
        showDocument(output, session, "", document);
    else if (output.isJson)
        output.json(session.identity(), {{"controls", entries}});
    else
        output.table(table, "the module has no controls");
}

void describeControl(CommandOutput& output, const ModuleSession& session, const std::string& name,
                     const std::string& presentValues)
{
    const std::string schema = readControl(session, name, "schema", &Module::controlSchema);
    pugi::xml_document present;
    present.load_buffer(presentValues.data(), presentValues.size());
    const auto parameters = schemaEntries(schema, "");
    if (parameters.empty() && present.document_element().first_child()) {
        showDocument(output, session, name, presentValues);
        return;
    }
    TextTable table({{"Parameter"}, {"Type"}, {"Accepts"}, {"Preset"}});
    auto entries = nlohmann::json::array();
    for (const auto& entry : parameters) {
        const std::string preset = wholeText(present.document_element().child(entry.path.c_str()));
        table.addRow({entry.path, typeText(entry), acceptedText(entry), preset});
        entries.push_back(schemaJson(entry));
        entries.back()["preset"] = preset;
    }
    if (output.isJson)
        output.json(session.identity(), {{"control", name}, {"parameters", entries}});
    else
        output.table(table, name + " takes no parameters");
}

void controls(CommandOutput& output, const ControlsArguments& arguments)
{
    const ModuleSession session(arguments.address);
    const std::string& name = arguments.name;
    if (name.empty()) {
        listControls(output, session, arguments.isXml);
        return;
    }
    const std::string document =
        arguments.isSchema ? readControl(session, name, "schema", &Module::controlSchema)
        : arguments.isStyleSheet
            ? readControl(session, name, "style sheet", &Module::controlStyleSheet)
            : readControl(session, name, "description", &Module::controlDocument);
    if (arguments.isXml || arguments.isSchema || arguments.isStyleSheet)
        showDocument(output, session, name, document);
    else
        describeControl(output, session, name, document);
}

std::string readParameters(const std::string& file)
{
    std::string document = readHostFile(file);
    if (document.find('\0') != std::string::npos) {
        throw CommandFailure({.problem = file + " holds a zero byte, which no document does",
                              .advice = "is it the right file, and in UTF-8?"});
    }
    return document;
}

void executeDocument(CommandOutput& output, const ControlArguments& arguments)
{
    const std::string document = readParameters(arguments.file);
    const ModuleSession session(arguments.address);
    const std::string answer = session.ask(
        {.tried = "execute " + arguments.name,
         .advice = controlsHint(session.address()),
         .answer = Answer::words},
        [&](Module& module) { return module.executeDocument(arguments.name, document); });
    if (output.isJson)
        output.json(session.identity(), {{"control", arguments.name}, {"answer", answer}});
    else
        output.document(answer.empty() ? arguments.name + " is done" : answer);
}

void control(CommandOutput& output, const ControlArguments& arguments)
{
    if (!arguments.file.empty()) {
        executeDocument(output, arguments);
        return;
    }
    const ModuleSession session(arguments.address);
    session.ask({.tried = "execute " + arguments.name,
                 .advice = controlsHint(arguments.address),
                 .answer = Answer::words},
                [&](Module& module) { module.execute(arguments.name, arguments.parameters); });
    if (output.isJson) {
        output.json(session.identity(),
                    {{"control", arguments.name}, {"parameters", arguments.parameters}});
    } else {
        output.value(arguments.name + " is done");
    }
}

void zero(CommandOutput& output, const ZeroArguments& arguments)
{
    const ModuleSession session(arguments.address);
    const SignalNumbers numbers = signalNumbers(session, arguments.signal);
    const std::string signal = "signal " + std::to_string(numbers.signal) + " of connector " +
                               std::to_string(numbers.connector);
    session.ask({.tried = "zero " + signal,
                 .advice = controlsHint(arguments.address),
                 .answer = Answer::words},
                [&](Module& module) {
                    module.setZero(numbers.connector, numbers.signal, arguments.target);
                });
    if (output.isJson) {
        output.json(session.identity(), {{"connector", numbers.connector},
                                         {"signal", numbers.signal},
                                         {"target", arguments.target.value_or(0)}});
    } else {
        output.line("zeroed " + signal);
    }
}

void led(CommandOutput& output, const LedArguments& arguments)
{
    const ModuleSession session(arguments.address);
    session.ask({.tried = "set LED " + std::to_string(arguments.led) + " to mode " +
                          std::to_string(arguments.mode),
                 .advice = controlsHint(arguments.address),
                 .answer = Answer::words},
                [&](Module& module) { module.setLed(arguments.led, arguments.mode); });
    if (output.isJson) {
        output.json(session.identity(), {{"led", arguments.led}, {"mode", arguments.mode}});
    } else {
        output.line("LED " + std::to_string(arguments.led) + " is in mode " +
                    std::to_string(arguments.mode));
    }
}

void addControls(CLI::App& app, Application& application)
{
    auto& command = addCommand(app, {.name = "controls",
                                     .group = kGroup,
                                     .description = "List a module's controls, or describe one",
                                     .examples = "  zel controls 192.168.169.20\n"
                                                 "  zel controls 192.168.169.20 SETZERO"});
    const auto arguments = std::make_shared<ControlsArguments>();
    addAddressArgument(command, arguments->address);
    auto* const name = command.add_option("NAME", arguments->name, "Control to describe");
    auto* const isSchema =
        command.add_flag("--schema", arguments->isSchema, "Show its schema, as XML")->needs(name);
    command.add_flag("--style", arguments->isStyleSheet, "Show its style sheet, as XML")
        ->needs(name)
        ->excludes(isSchema);
    addXmlFlag(command, arguments->isXml);
    whenChosen(command, application, arguments, controls);
}

void addControl(CLI::App& app, Application& application)
{
    auto& command =
        addCommand(app, {.name = "control",
                         .group = kGroup,
                         .description = "Execute a control",
                         .examples = "  zel control 192.168.169.20 LEDFLASH 0 1\n"
                                     "  zel control 192.168.169.20 SETZERO 0 1 \"\"\n"
                                     "      signal 2 of connector 1, as modules count"});
    const auto arguments = std::make_shared<ControlArguments>();
    addAddressArgument(command, arguments->address);
    command.add_option("NAME", arguments->name, "Name of the control, in capitals")->required();
    auto* const parameters =
        command.add_option("PARAMETERS", arguments->parameters,
                           "Its parameters in order, each sent as text as it stands; "
                           "modules count connectors and signals from 0 here");
    command
        .add_option("--xml", arguments->file,
                    "Send this parameter document instead and print the answer; '-' is standard "
                    "input")
        ->option_text("FILE")
        ->excludes(parameters);
    whenChosen(command, application, arguments, control);
}

void addZero(CLI::App& app, Application& application)
{
    auto& command = addCommand(app, {.name = "zero",
                                     .group = kGroup,
                                     .description = "Zero a signal: its present value becomes 0",
                                     .examples = "  zel zero 192.168.169.20 Force\n"
                                                 "  zel zero 192.168.169.20 1 2 --target 9.81\n"
                                                 "      signal 2 of connector 1"});
    const auto arguments = std::make_shared<ZeroArguments>();
    addAddressArgument(command, arguments->address);
    command
        .add_option("SIGNAL", arguments->signal,
                    "Reference or name of the signal; or two numbers, connector and signal, each "
                    "from 1 as on the module's label")
        ->required()
        ->expected(1, 2);
    command
        .add_option("--target", arguments->target,
                    "What the present value becomes instead of 0, in the signal's unit")
        ->option_text("VALUE");
    whenChosen(command, application, arguments, zero);
}

void addLed(CLI::App& app, Application& application)
{
    auto& command = addCommand(app, {.name = "led",
                                     .group = kGroup,
                                     .description = "Set an LED, to find a module in the rack",
                                     .examples = "  zel led 192.168.169.20 0 1"});
    const auto arguments = std::make_shared<LedArguments>();
    addAddressArgument(command, arguments->address);
    command.add_option("LED", arguments->led, "Number of the LED, as the module numbers them")
        ->required();
    command.add_option("MODE", arguments->mode, "Mode, as the module numbers them")->required();
    whenChosen(command, application, arguments, led);
}

} // namespace

void addControlCommands(CLI::App& app, Application& application)
{
    addControls(app, application);
    addControl(app, application);
    addZero(app, application);
    addLed(app, application);
}

} // namespace zel::cli
