#include "trace_value.h"

#include "hexadecimal_text.h"

#include <array>
#include <charconv>
#include <cmath>

namespace zel {

namespace {

/// As printf's "%.*g" in the "C" locale; the script has no literals for what is not finite.
template <std::floating_point Number>
std::string realText(Number value, int precision)
{
    if (std::isnan(value))
        return "0/0";
    if (std::isinf(value))
        return value < 0 ? "-math.huge" : "math.huge";
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value,
                                   std::chars_format::general, precision);
    return {digits.data(), end.ptr};
}

/// Sixteen digits in capitals, whatever the platform's printf makes of a pointer.
std::string pointerText(const void* pointer)
{
    std::string digits = hexadecimalText(reinterpret_cast<std::uintptr_t>(pointer));
    for (char& digit : digits)
        if (digit >= 'a')
            digit = static_cast<char>(digit - 'a' + 'A');
    return "0x" + std::string(16 - digits.size(), '0') + digits;
}

/// A literal in long brackets, with more signs of equality where the text would close it.
std::string literal(std::string_view text)
{
    std::string signs = "==";
    while ((std::string{text} + "]").find("]" + signs + "]") != std::string::npos)
        signs += '=';
    // A line end right behind the opening bracket would be lost.
    const char* const lineEnd = text.starts_with('\n') ? "\n" : "";
    return "[" + signs + "[" + lineEnd + std::string{text} + "]" + signs + "]";
}

} // namespace

TraceValue::TraceValue(TracedUuid uuid)
    : m_text("core.uuid('0x" + hexadecimalText(uuid.value) + "')")
{
}

TraceValue::TraceValue(TracedTimeStamp time)
    : m_text("core.timestamp('0x" + hexadecimalText(time.value) + "')")
{
}

TraceValue::TraceValue(float value) : m_text(realText(value, 9)) {}

TraceValue::TraceValue(double value) : m_text(realText(value, 17)) {}

TraceValue::TraceValue(const void* pointer) : m_text(pointerText(pointer)) {}

TraceValue::TraceValue(const char* text) : m_text(text == nullptr ? "nil" : literal(text)) {}

} // namespace zel
