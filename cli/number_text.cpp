#include "number_text.h"

#include <array>
#include <cmath>

namespace zel::cli {

namespace {

constexpr std::string_view kHexDigits = "0123456789ABCDEF";

std::string fixedWidthHex(std::uint64_t number, std::size_t digits)
{
    std::string text(digits, '0');
    for (auto digit = text.rbegin(); digit != text.rend(); ++digit, number >>= 4U)
        *digit = kHexDigits[number & 0xFU];
    return "0x" + text;
}

std::string withOneDecimal(double number)
{
    std::array<char, 32> text{};
    const auto [end, error] =
        std::to_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed, 1);
    return error == std::errc{} ? std::string(text.data(), end) : "many";
}

} // namespace

std::optional<double> decimalNumber(std::string_view text)
{
    if (text.starts_with('+'))
        text.remove_prefix(1);
    double number = 0;
    const auto end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    const bool isWhole = error == std::errc{} && stop == end;
    return isWhole && std::isfinite(number) ? std::optional{number} : std::nullopt;
}

std::optional<std::int32_t> resultCode(std::string_view text)
{
    if (const auto code = wholeNumber<std::int32_t>(text))
        return code;
    if (const auto code = wholeNumber<std::uint32_t>(text))
        return static_cast<std::int32_t>(*code);
    return std::nullopt;
}

std::string hexadecimal(std::uint64_t number)
{
    return fixedWidthHex(number, 16);
}

std::string hexadecimal(std::int32_t code)
{
    return fixedWidthHex(static_cast<std::uint32_t>(code), 8);
}

std::string counted(std::uint64_t number, const std::string& what)
{
    return std::to_string(number) + " " + what + (number == 1 ? "" : "s");
}

std::string byteCount(std::uint64_t bytes)
{
    if (bytes < 1024)
        return counted(bytes, "byte");
    const auto kibibytes = static_cast<double>(bytes) / 1024;
    return kibibytes < 1023.95 ? withOneDecimal(kibibytes) + " KiB"
                               : withOneDecimal(kibibytes / 1024) + " MiB";
}

std::string duration(double seconds)
{
    const auto whole = std::llround(std::fmin(std::fmax(seconds, 0.0), 359999.0));
    if (whole < 60)
        return std::to_string(whole) + " s";
    const auto rest = whole % 60;
    return std::to_string(whole / 60) + (rest < 10 ? " min 0" : " min ") + std::to_string(rest) +
           " s";
}

std::string hexDigits(std::string_view bytes)
{
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text += kHexDigits[byte >> 4U];
        text += kHexDigits[byte & 0xFU];
    }
    return text;
}

} // namespace zel::cli
