#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace zel {

// Numbers in documents. Nothing here asks the C library's locale, so the decimal separator is a
// point whatever the host application has set.

/// Fixed-point text with `decimals` digits (0 to 9, more count as 9) after the point. A remainder
/// of exactly one half rounds to even. NaN gives "nan"; magnitudes above 2147483647 come as
/// formatScientific() writes them with 6 decimals.
std::string formatFixed(double value, unsigned decimals);

/// As printf's "%.*e" in the "C" locale.
std::string formatScientific(double value, unsigned decimals);

/// A parameter value: fixed where the magnitude is zero or from 0.1 to 100000, else scientific.
/// With 6 decimals at most 14 characters.
std::string formatParameterDouble(double value, unsigned decimals = 6);

/// Number texts of responses: "0x" and hexadecimal digits, else decimal, as the C library reads
/// them. White space may stand around the number and a zero byte behind it, which ends the text;
/// nothing else may, and the type, double or an integer of 32 or 64 bits, must hold the number. 0,
/// or ZEL_UTIL_STRING_CONVERSION, which leaves `value` alone.
template <class Number>
std::int32_t parseNumber(std::string_view text, Number& value);

} // namespace zel
