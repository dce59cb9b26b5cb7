#include "parameter_definition.h"

#include "module_codes.h"
#include "number_forms.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>

namespace zel::simulator {

namespace {

std::optional<double> readNumber(std::string_view text)
{
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool whole = error == std::errc{} && end == text.data() + text.size();
    return whole && std::isfinite(value) ? std::optional{value} : std::nullopt;
}

bool isIpAddress(std::string_view text)
{
    for (int part = 0; part < 4; ++part) {
        unsigned value = 256;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        if (error != std::errc{} || value > 255)
            return false;
        text.remove_prefix(static_cast<std::size_t>(end - text.data()));
        if (part == 3)
            return text.empty();
        if (!text.starts_with('.'))
            return false;
        text.remove_prefix(1);
    }
    return false;
}

bool isHexadecimal(std::string_view text)
{
    if (text.starts_with("0x"))
        text.remove_prefix(2);
    return !text.empty() && text.size() <= 16 &&
           text.find_first_not_of("0123456789abcdefABCDEF") == text.npos;
}

Outcome checkNumber(const ParameterDefinition& definition, std::string_view text)
{
    const auto number = readNumber(text);
    if (!number)
        return {kWrongType, definition.name + ": '" + std::string{text} + "' is not a number"};
    if (*number < definition.minimum || *number > definition.maximum)
        return {kOutOfRange, definition.name + ": " + std::string{text} + " is out of range, " +
                                 plainNumber(definition.minimum) + " to " +
                                 plainNumber(definition.maximum)};
    if (definition.kind != ParameterDefinition::Kind::integer)
        return {0, std::string{text}};
    // Hosts write whole numbers in the format of fractions, too.
    if (*number != std::floor(*number))
        return {kWrongType, definition.name + ": " + std::string{text} + " is not a whole number"};
    return {0, std::to_string(static_cast<long long>(*number))};
}

Outcome checkChoice(const ParameterDefinition& definition, std::string_view text)
{
    for (const std::string& choice : definition.choices)
        if (choice == text)
            return {0, choice};
    if (const auto number = readNumber(text)) {
        for (const std::string& choice : definition.choices)
            if (readNumber(choice) == number)
                return {0, choice};
    }
    std::string reason = definition.name + ": '" + std::string{text} + "' is none of";
    for (const std::string& choice : definition.choices)
        reason += " '" + choice + "'";
    return {kWrongChoice, reason};
}

} // namespace

const ParameterDefinition* ParameterDefinition::child(std::string_view childName) const
{
    const auto found = std::ranges::find(children, childName, &ParameterDefinition::name);
    return found == children.end() ? nullptr : &*found;
}

std::string ParameterDefinition::initial(unsigned instance) const
{
    if (initials.empty())
        return {};
    std::string text = initials[instance % initials.size()];
    if (const auto mark = text.find('#'); mark != text.npos)
        text.replace(mark, 1, std::to_string(instance + 1));
    return text;
}

Outcome ParameterDefinition::check(std::string_view value) const
{
    switch (kind) {
    case Kind::integer:
    case Kind::real:
        return checkNumber(*this, value);
    case Kind::alternative:
    case Kind::enumeration:
        return checkChoice(*this, value);
    case Kind::ipAddress:
        if (!isIpAddress(value))
            return {kWrongType, name + ": '" + std::string{value} + "' is not an IPv4 address"};
        return {0, std::string{value}};
    case Kind::hexadecimal:
        if (!isHexadecimal(value))
            return {kWrongType, name + ": '" + std::string{value} + "' is not hexadecimal"};
        return {0, std::string{value}};
    case Kind::text:
        if (value.size() > longest)
            return {kOutOfRange, name + ": longer than " + std::to_string(longest) + " characters"};
        return {0, std::string{value}};
    case Kind::group:
        break;
    }
    return {kWrongType, name + " has no value of its own"};
}

} // namespace zel::simulator
