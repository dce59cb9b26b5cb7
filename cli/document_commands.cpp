// zel xml, schema and views: parameters as whole documents.

#include "application.h"
#include "file_content.h"
#include "module_session.h"
#include "number_text.h"
#include "schema_table.h"

#include <nlohmann/json.hpp>
#include <pugixml.hpp>

namespace zel::cli {

namespace {

constexpr auto kGroup = "Parameters";

struct XmlArguments {
    std::string address;
    std::uint32_t view = 1;
    bool isChoicesOnly = false;
    std::string section;
    std::string file;
};

struct SchemaArguments {
    std::string address;
    std::uint32_t view = 1;
    std::string section;
    bool isStyleSheet = false;
    bool isXml = false;
};

struct ViewsArguments {
    std::string address;
    bool isXml = false;
};

std::string documentName(const std::string& section, std::uint32_t view)
{
    return (section.empty() ? "the parameter document" : "the section " + section) + " " +
           viewText(view);
}

void print(CommandOutput& output, const ModuleSession& session, const nlohmann::json& about,
           const std::string& document)
{
    if (output.isJson) {
        auto result = about;
        result["document"] = document;
        output.json(session.identity(), result);
    } else {
        output.document(document);
    }
}

void readXml(CommandOutput& output, const XmlArguments& arguments)
{
    const ModuleSession session(arguments.address);
    const std::string document = session.ask(
        {.tried = "read " + documentName(arguments.section, arguments.view),
         .advice = viewsHint(arguments.address)},
        [&](const Module& module) {
            return module.document(arguments.view, arguments.section, arguments.isChoicesOnly);
        });
    print(output, session, {{"view", arguments.view}, {"section", arguments.section}}, document);
}

void writeXml(CommandOutput& output, const XmlArguments& arguments)
{
    const std::string document = readHostFile(arguments.file);
    const ModuleSession session(arguments.address);
    const std::string name = documentName(arguments.section, arguments.view);
    session.ask(
        {.tried = "write " + arguments.file + " to " + name,
         .advice = schemaHint(arguments.address, arguments.view, arguments.section),
         .answer = Answer::words},
        [&](Module& module) { module.writeDocument(arguments.view, document, arguments.section); });
    if (output.isJson) {
        output.json(session.identity(), {{"view", arguments.view},
                                         {"section", arguments.section},
                                         {"written", document.size()}});
    } else {
        output.value("wrote " + byteCount(document.size()) + " to " + name);
    }
}

void xml(CommandOutput& output, const XmlArguments& arguments)
{
    if (arguments.file.empty())
        readXml(output, arguments);
    else
        writeXml(output, arguments);
}

void schema(CommandOutput& output, const SchemaArguments& arguments)
{
    const ModuleSession session(arguments.address);
    const std::string kind = arguments.isStyleSheet ? "style sheet" : "schema";
    const std::string document = session.ask(
        {.tried = "read the " + kind + " of " + documentName(arguments.section, arguments.view),
         .advice = viewsHint(arguments.address)},
        [&](const Module& module) {
            return arguments.isStyleSheet ? module.styleSheet(arguments.view)
                                          : module.schema(arguments.view, arguments.section);
        });
    const auto entries = schemaEntries(document, arguments.section);
    if (arguments.isStyleSheet || arguments.isXml || entries.empty()) {
        print(output, session, {{"view", arguments.view}, {"kind", kind}}, document);
        return;
    }
    TextTable table({{"Parameter"}, {"Type"}, {"Accepts"}});
    auto parameters = nlohmann::json::array();
    for (const auto& entry : entries) {
        table.addRow({entry.path, typeText(entry), acceptedText(entry)});
        parameters.push_back(schemaJson(entry));
    }
    if (output.isJson) {
        output.json(
            session.identity(),
            {{"view", arguments.view}, {"section", arguments.section}, {"parameters", parameters}});
    } else {
        output.table(table, "");
    }
}

void views(CommandOutput& output, const ViewsArguments& arguments)
{
    const ModuleSession session(arguments.address);
    const std::string document = session.ask({.tried = "read the list of views"},
                                             [](const Module& module) { return module.views(); });
    pugi::xml_document parsed;
    const bool isList = bool(parsed.load_buffer(document.data(), document.size()));
    TextTable table({{"View", Align::right}, {"Name"}});
    auto entries = nlohmann::json::array();
    for (const auto view : parsed.document_element().children("View")) {
        const std::string number = view.attribute("id").value();
        const std::string name = view.attribute("name").value();
        table.addRow({number, name});
        const auto id = wholeNumber<std::uint32_t>(number);
        entries.push_back(
            {{"view", id ? nlohmann::json(*id) : nlohmann::json(number)}, {"name", name}});
    }
    // A list in a form that this program does not know is shown as it is.
    const bool isOther = !isList || (table.isEmpty() && parsed.document_element().first_child());
    if (arguments.isXml || isOther)
        print(output, session, nlohmann::json::object(), document);
    else if (output.isJson)
        output.json(session.identity(), {{"views", entries}});
    else
        output.table(table, "the module has no parameter views");
}

void addXml(CLI::App& app, Application& application)
{
    auto& command =
        addCommand(app, {.name = "xml",
                         .group = kGroup,
                         .description = "Read or write a view's parameters as a document",
                         .examples = "  zel xml 192.168.169.20 --view 5 > setup.xml\n"
                                     "  zel xml 192.168.169.20 --view 5 --write setup.xml\n"
                                     "  zel xml 192.168.169.20 --section Communication/Network"});
    const auto arguments = std::make_shared<XmlArguments>();
    addAddressArgument(command, arguments->address);
    addViewOption(command, arguments->view);
    command.add_option("--section", arguments->section, "Only what is below this path")
        ->option_text("PATH");
    auto* const choices = command.add_flag("--choices-only", arguments->isChoicesOnly,
                                           "List only the choices that can be selected at present");
    command
        .add_option("--write", arguments->file,
                    "Write this file to the module instead; '-' is standard input")
        ->option_text("FILE")
        ->excludes(choices);
    whenChosen(command, application, arguments, xml);
}

void addSchema(CLI::App& app, Application& application)
{
    auto& command =
        addCommand(app, {.name = "schema",
                         .group = kGroup,
                         .description = "List a view's parameters with ranges and choices",
                         .examples = "  zel schema 192.168.169.20 --section Amplifier/Connector"});
    const auto arguments = std::make_shared<SchemaArguments>();
    addAddressArgument(command, arguments->address);
    addViewOption(command, arguments->view);
    auto* const section =
        command.add_option("--section", arguments->section, "Only what is below this path")
            ->option_text("PATH");
    command.add_flag("--style", arguments->isStyleSheet, "Read the style sheet instead, as XML")
        ->excludes(section);
    addXmlFlag(command, arguments->isXml);
    whenChosen(command, application, arguments, schema);
}

void addViews(CLI::App& app, Application& application)
{
    auto& command = addCommand(app, {.name = "views",
                                     .group = kGroup,
                                     .description = "List a module's parameter views",
                                     .examples = "  zel views 192.168.169.20"});
    const auto arguments = std::make_shared<ViewsArguments>();
    addAddressArgument(command, arguments->address);
    addXmlFlag(command, arguments->isXml);
    whenChosen(command, application, arguments, views);
}

} // namespace

void addDocumentCommands(CLI::App& app, Application& application)
{
    addXml(app, application);
    addSchema(app, application);
    addViews(app, application);
}

} // namespace zel::cli
