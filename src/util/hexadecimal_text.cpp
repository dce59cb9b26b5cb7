#include "hexadecimal_text.h"

#include <array>
#include <charconv>
#include <string_view>

namespace zel {

std::string hexadecimalText(std::uint64_t number)
{
    std::array<char, 16> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16);
    return {digits.data(), end.ptr};
}

void appendHexadecimal(std::string& out, std::span<const std::byte> data)
{
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::size_t at = out.size();
    out.resize(at + 2 * data.size());
    for (const std::byte byte : data) {
        const auto value = std::to_integer<std::size_t>(byte);
        out[at++] = kDigits[value >> 4];
        out[at++] = kDigits[value & 0xF];
    }
}

} // namespace zel
