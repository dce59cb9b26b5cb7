// zel units and convert: the physical units that modules number.

#include "application.h"
#include "number_text.h"
#include "suggestions.h"
#include "ZEL_VR_Framework.hpp"

#include <array>
#include <charconv>
#include <cmath>

#include <nlohmann/json.hpp>

namespace zel::cli {

namespace {

struct UnitsArguments {
    std::string unit;
};

struct ConvertArguments {
    std::string value;
    std::string from;
    std::string to;
};

const Unit& requireUnit(const std::string& text)
{
    const auto code = wholeNumber<std::uint32_t>(text);
    const Unit* const unit = code ? unitOf(*code) : unitNamed(text);
    if (unit == nullptr) {
        std::vector<std::string> names;
        for (const Unit& row : zel::units())
            names.emplace_back(row.name);
        const std::string closest = closestTo(text, names);
        throw CommandFailure(
            {.problem = "there is no unit '" + text + "'",
             .advice = (closest.empty() ? "" : "did you mean '" + closest + "'? ") +
                       "'zel units' lists all; upper and lower case differ"});
    }
    return *unit;
}

/// Twelve digits: more than a converted value is good for.
std::string realText(double value)
{
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value,
                                   std::chars_format::general, 12);
    return {digits.data(), end.ptr};
}

nlohmann::json described(const Unit& unit)
{
    return {{"code", unit.code},
            {"name", unit.name},
            {"factor", unit.factor},
            {"offset", unit.offset},
            {"encoded", unit.encoded}};
}

std::string encodedText(const Unit& unit)
{
    return unit.encoded == 0 ? "" : hexadecimal(static_cast<std::int32_t>(unit.encoded));
}

void units(CommandOutput& output, const UnitsArguments& arguments)
{
    TextTable table({{.heading = "CODE", .align = Align::right},
                     {.heading = "NAME"},
                     {.heading = "FACTOR", .align = Align::right},
                     {.heading = "OFFSET", .align = Align::right},
                     {.heading = "ENCODED"}});
    nlohmann::json list = nlohmann::json::array();
    const auto add = [&](const Unit& unit) {
        table.addRow({std::to_string(unit.code), unit.name, realText(unit.factor),
                      realText(unit.offset), encodedText(unit)});
        list.push_back(described(unit));
    };
    if (arguments.unit.empty())
        for (const Unit& unit : zel::units())
            add(unit);
    else
        add(requireUnit(arguments.unit));
    if (output.isJson)
        output.json(arguments.unit.empty() ? list : list.front());
    else
        output.table(table, "", "Value in the base unit = value * factor - offset");
}

void convert(CommandOutput& output, const ConvertArguments& arguments)
{
    const auto value = decimalNumber(arguments.value);
    if (!value)
        throw CommandFailure({.problem = "'" + arguments.value + "' is no number",
                              .advice = "a value looks like 20, -0.5 or 1e-3"});
    const Unit& from = requireUnit(arguments.from);
    const Unit& to = requireUnit(arguments.to);
    auto converted = zel::convert(*value, from, to);
    if (!converted)
        throw CommandFailure({.problem = std::string("'") + from.name + "' and '" + to.name +
                                         "' are units of different quantities",
                              .advice = "units with the same hundred in their code go together: "
                                        "'zel units'"});
    if (!std::isfinite(*converted))
        throw CommandFailure(
            {.problem = realText(*value) + " " + from.name + " is too large a number in " + to.name,
             .advice = "numbers go up to 1.8e308"});
    // What two offsets leave of each other is nothing but rounding.
    const double scale = (std::abs(from.offset) + std::abs(to.offset)) / to.factor;
    if (std::abs(*converted) < scale * 1e-14)
        converted = 0.0;
    if (output.isJson) {
        output.json(
            {{"value", *value}, {"from", from.name}, {"to", to.name}, {"result", *converted}});
    } else {
        output.value(realText(*value) + " " + from.name + " = " + realText(*converted) + " " +
                     to.name);
    }
}

} // namespace

void addUnitCommands(CLI::App& app, Application& application)
{
    auto& unitsCommand = addCommand(app, {.name = "units",
                                          .group = "Library",
                                          .description = "List the physical units, or show one",
                                          .examples = "  zel units\n"
                                                      "  zel units mV/V\n"
                                                      "  zel units 1001"});
    const auto unitsArguments = std::make_shared<UnitsArguments>();
    unitsCommand.add_option("UNIT", unitsArguments->unit, "Name or code of a unit");
    whenChosen(unitsCommand, application, unitsArguments, units);

    auto& convertCommand = addCommand(app, {.name = "convert",
                                            .group = "Library",
                                            .description = "Convert a value to another unit",
                                            .examples = "  zel convert 20 °C °F\n"
                                                        "  zel convert 1.5 bar psi"});
    const auto arguments = std::make_shared<ConvertArguments>();
    convertCommand.add_option("VALUE", arguments->value, "The value")->required();
    convertCommand.add_option("FROM", arguments->from, "Its unit, name or code")->required();
    convertCommand.add_option("TO", arguments->to, "The unit wanted, name or code")->required();
    whenChosen(convertCommand, application, arguments, convert);
}

} // namespace zel::cli
