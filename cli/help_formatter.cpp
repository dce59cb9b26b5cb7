#include "help_formatter.h"

#include <sstream>

namespace zel::cli {

namespace {

constexpr std::size_t kNameColumn = 26;
constexpr std::size_t kLineWidth = 96;

std::string wrapped(const std::string& text, std::size_t width)
{
    std::istringstream words(text);
    std::string result;
    std::size_t column = 0;
    for (std::string word; words >> word;) {
        const bool isFull = column > 0 && column + 1 + word.size() > width;
        if (column > 0)
            result += isFull ? '\n' : ' ';
        column = isFull || column == 0 ? word.size() : column + 1 + word.size();
        result += word;
    }
    return result;
}

/// A flag that takes a value only after "=" is declared with its default in braces.
bool takesOptionalValue(const std::string& name)
{
    return name.find('{') != std::string::npos;
}

} // namespace

HelpFormatter::HelpFormatter()
{
    column_width(kNameColumn);
    label("SUBCOMMAND", "COMMAND");
}

std::string HelpFormatter::make_option_name(const CLI::Option* option, bool isPositional) const
{
    const std::string name = Formatter::make_option_name(option, isPositional);
    return takesOptionalValue(name)
               ? name.substr(0, name.find('{')) + "[=" + option->get_option_text() + "]"
               : name;
}

std::string HelpFormatter::make_option_opts(const CLI::Option* option) const
{
    const bool isInName = takesOptionalValue(option->get_name(false, true));
    return option->get_option_text().empty() || isInName ? "" : " " + option->get_option_text();
}

std::string HelpFormatter::make_option_usage(const CLI::Option* option) const
{
    const std::string name =
        make_option_name(option, true) + (option->get_expected_max() > 1 ? "..." : "");
    return option->get_required() ? name : "[" + name + "]";
}

std::string HelpFormatter::make_option_desc(const CLI::Option* option) const
{
    return wrapped(option->get_description(), kLineWidth - kNameColumn);
}

std::string HelpFormatter::make_subcommand(const CLI::App* command) const
{
    std::stringstream out;
    // The list shows what a command is for; its own help tells the rest.
    const std::string description = command->get_description();
    CLI::detail::format_help(out, command->get_name(),
                             description.substr(0, description.find('\n')), kNameColumn);
    return out.str();
}

std::string HelpFormatter::make_description(const CLI::App* app) const
{
    return app->get_description() + "\n\n";
}

} // namespace zel::cli
