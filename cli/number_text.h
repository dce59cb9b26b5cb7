#pragma once

#include <charconv>
#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

// Numbers as people type and read them. Nothing here depends on the locale.
namespace zel::cli {

/// The whole text as a number, decimal or with 0x in front; nothing when it is anything else or
/// does not fit.
template <std::integral Number>
std::optional<Number> wholeNumber(std::string_view text)
{
    int base = 10;
    if (text.starts_with("0x") || text.starts_with("0X")) {
        base = 16;
        text.remove_prefix(2);
        if (text.starts_with('-'))
            return std::nullopt;
    }
    Number number{};
    const auto end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, base);
    return error == std::errc{} && stop == end ? std::optional{number} : std::nullopt;
}

/// The whole text as a finite floating-point number, with "." before the decimals.
std::optional<double> decimalNumber(std::string_view text);

/// A result code in any of the ways in which it is met: -1016035, 4293951261 or 0xFFF07F1D.
std::optional<std::int32_t> resultCode(std::string_view text);

/// "0x0000001234AB0001", as wide as the number is.
std::string hexadecimal(std::uint64_t number);
std::string hexadecimal(std::int32_t code);

/// "1 module", "3 modules".
std::string counted(std::uint64_t number, const std::string& what);

/// "312 bytes", "1.5 KiB", "4.0 MiB".
std::string byteCount(std::uint64_t bytes);

/// "9 s", "1 min 05 s".
std::string duration(double seconds);

/// Two digits for each byte.
std::string hexDigits(std::string_view bytes);

} // namespace zel::cli
