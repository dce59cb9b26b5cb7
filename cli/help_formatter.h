#pragma once

#include <string>

#include <CLI/CLI.hpp>

namespace zel::cli {

/// Help texts that fit a terminal: wrapped descriptions, one name for each argument.
class HelpFormatter : public CLI::Formatter {
public:
    HelpFormatter();

    std::string make_option_name(const CLI::Option* option, bool isPositional) const override;
    std::string make_option_opts(const CLI::Option* option) const override;
    std::string make_option_usage(const CLI::Option* option) const override;
    std::string make_option_desc(const CLI::Option* option) const override;
    std::string make_subcommand(const CLI::App* command) const override;
    std::string make_description(const CLI::App* app) const override;
};

} // namespace zel::cli
