// zel text and version: what the library knows without a module.

#include "application.h"
#include "module_session.h"
#include "number_text.h"
#include "ZEL_VR_Framework.h"

#include <nlohmann/json.hpp>

namespace zel::cli {

namespace {

struct TextArguments {
    std::string code;
    std::string address;
};

std::string lookUp(std::int32_t code, const std::string& address)
{
    if (code == ZEL_OK)
        return "success";
    if (address.empty()) {
        const StartedLibrary library;
        return library.textOf(code);
    }
    const ModuleSession session(address);
    return session.textOf(code);
}

void text(CommandOutput& output, const TextArguments& arguments)
{
    const auto code = resultCode(arguments.code);
    if (!code) {
        throw CommandFailure(
            {.problem = "'" + arguments.code + "' is no result code",
             .advice = "a code is a number of 32 bits, for example -1016035 or 0xFFF07F1D"});
    }
    const std::string known = lookUp(*code, arguments.address);
    const std::string both = std::to_string(*code) + " (" + hexadecimal(*code) + ")";
    if (known.empty()) {
        throw CommandFailure(
            {.problem =
                 "no text is known for " + both +
                 (arguments.address.empty() ? "" : ", neither here nor on " + arguments.address),
             .advice = arguments.address.empty() ? "a module may know it: 'zel text " +
                                                       arguments.code + " --from ADDRESS'"
                                                 : ""});
    }
    if (output.isJson)
        output.json({{"code", *code}, {"hex", hexadecimal(*code)}, {"text", known}});
    else
        output.value(both + "  " + known);
}

} // namespace

void showVersion(CommandOutput& output)
{
    const char* const version = ZEL_XUTIL_GetDllVersion();
    if (output.isJson)
        output.json({{"library", "ZEL_VR_Framework"}, {"version", version}});
    else
        output.value(std::string("ZEL_VR_Framework ") + version);
}

void addTextCommands(CLI::App& app, Application& application)
{
    auto& textCommand = addCommand(app, {.name = "text",
                                         .group = "Library",
                                         .description = "Explain a result code",
                                         .examples = "  zel text 0xFFF07F1D\n"
                                                     "  zel text -1014990 --from 192.168.169.20"});
    const auto arguments = std::make_shared<TextArguments>();
    textCommand
        .add_option("CODE", arguments->code, "Result code, for example -1016035 or 0xFFF07F1D")
        ->required();
    textCommand
        .add_option("--from", arguments->address,
                    "Module to ask when the library does not know the code")
        ->option_text("ADDRESS");
    whenChosen(textCommand, application, arguments, text);

    auto& versionCommand = addCommand(app, {.name = "version",
                                            .group = "Library",
                                            .description = "Show the library's version",
                                            .examples = ""});
    versionCommand.callback(
        [&application] { application.work = [&application] { showVersion(application.output); }; });
}

} // namespace zel::cli
