#include "number_format.h"

#include "ZEL_VR_Framework.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <type_traits>

namespace zel {

namespace {

constexpr std::array<std::uint32_t, 10> kPowersOf10 = {
    1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000, 1000000000};
constexpr unsigned kMostDecimals = static_cast<unsigned>(kPowersOf10.size() - 1);
constexpr double kLargestFixed = 2147483647.0;
constexpr unsigned kDefaultDecimals = 6;

// The range of parameter values that are written in fixed-point form.
constexpr double kLargestPlain = 100000.0;
constexpr double kSmallestPlain = 0.1;

template <class Number>
void appendPadded(std::string& text, Number number, std::size_t width)
{
    std::array<char, 24> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    const auto size = static_cast<std::size_t>(end - digits.data());
    text.append(width > size ? width - size : 0, '0').append(digits.data(), size);
}

/// What is left of a text, which ends at a zero byte, without the blanks around it.
std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t\r\n\v\f";
    text = text.substr(0, text.find('\0'));
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// A plus sign is a number's, but std::from_chars does not know it.
std::string_view withoutPlus(std::string_view text)
{
    if (text.size() > 1 && text[0] == '+' && text[1] != '-')
        text.remove_prefix(1);
    return text;
}

} // namespace

std::string formatFixed(double value, unsigned decimals)
{
    if (std::isnan(value))
        return "nan";
    const double magnitude = std::fabs(value);
    if (magnitude > kLargestFixed)
        return formatScientific(value, kDefaultDecimals);

    decimals = std::min(decimals, kMostDecimals);
    const std::uint32_t unit = kPowersOf10[decimals];
    auto integer = static_cast<std::uint32_t>(magnitude);
    const double scaled = (magnitude - integer) * unit;
    auto fraction = static_cast<std::uint32_t>(scaled);
    const double remainder = scaled - fraction;
    const std::uint32_t last = decimals == 0 ? integer : fraction;
    if (remainder > 0.5 || (remainder == 0.5 && last % 2 == 1))
        ++fraction;
    if (fraction >= unit) {
        fraction = 0;
        ++integer;
    }

    std::string text = value < 0 ? "-" : "";
    appendPadded(text, integer, 1);
    if (decimals > 0) {
        text += '.';
        appendPadded(text, fraction, decimals);
    }
    return text;
}

std::string formatScientific(double value, unsigned decimals)
{
    // Sign, one digit, point, "e", sign and three digits of the exponent stand beside the decimals.
    std::string text(decimals + std::size_t{16}, '\0');
    const auto written = std::to_chars(text.data(), text.data() + text.size(), value,
                                       std::chars_format::scientific, static_cast<int>(decimals));
    text.resize(static_cast<std::size_t>(written.ptr - text.data()));
    return text;
}

std::string formatParameterDouble(double value, unsigned decimals)
{
    const double magnitude = std::fabs(value);
    const bool isPlain =
        magnitude <= kLargestPlain && (magnitude >= kSmallestPlain || magnitude == 0.0);
    return isPlain ? formatFixed(value, decimals) : formatScientific(value, decimals);
}

template <class Number>
std::int32_t parseNumber(std::string_view text, Number& value)
{
    text = trimmed(text);
    const bool isHexadecimal = text.starts_with("0x");
    if (isHexadecimal) {
        text.remove_prefix(2);
        // Behind the prefix comes a digit: no sign, no name of an infinity.
        if (text.find_first_of("0123456789abcdefABCDEF.") != 0)
            return ZEL_UTIL_STRING_CONVERSION;
    } else {
        text = withoutPlus(text);
    }
    Number converted{};
    std::from_chars_result parsed;
    const char* const end = text.data() + text.size();
    if constexpr (std::is_floating_point_v<Number>)
        parsed =
            std::from_chars(text.data(), end, converted,
                            isHexadecimal ? std::chars_format::hex : std::chars_format::general);
    else
        parsed = std::from_chars(text.data(), end, converted, isHexadecimal ? 16 : 10);
    if (parsed.ec != std::errc{} || parsed.ptr != end)
        return ZEL_UTIL_STRING_CONVERSION;
    value = converted;
    return ZEL_OK;
}

template std::int32_t parseNumber(std::string_view, double&);
template std::int32_t parseNumber(std::string_view, std::int32_t&);
template std::int32_t parseNumber(std::string_view, std::int64_t&);
template std::int32_t parseNumber(std::string_view, std::uint32_t&);
template std::int32_t parseNumber(std::string_view, std::uint64_t&);

} // namespace zel
