#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace zel {

/// As few small digits as the number needs, without a prefix.
std::string hexadecimalText(std::uint64_t number);

/// Appends two capital hexadecimal digits for each byte, the high nibble first.
void appendHexadecimal(std::string& out, std::span<const std::byte> data);

inline constexpr unsigned kNoDigit = 16;
/// The value of a hexadecimal digit of either case; kNoDigit for any other character.
constexpr unsigned hexadecimalDigit(char character)
{
    if (character >= '0' && character <= '9')
        return static_cast<unsigned>(character - '0');
    if (character >= 'A' && character <= 'F')
        return static_cast<unsigned>(character - 'A') + 10;
    if (character >= 'a' && character <= 'f')
        return static_cast<unsigned>(character - 'a') + 10;
    return kNoDigit;
}

} // namespace zel
