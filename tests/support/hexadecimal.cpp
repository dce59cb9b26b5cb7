#include "hexadecimal.h"

#include <array>
#include <cstdio>

namespace zel::test {

namespace {

constexpr std::string_view kDigits = "0123456789abcdef";

} // namespace

std::string unhex(std::string_view digits)
{
    std::string bytes;
    int high = -1;
    for (const char digit : digits) {
        const auto value = kDigits.find(digit);
        if (value == std::string_view::npos)
            continue;
        if (high < 0) {
            high = static_cast<int>(value);
        } else {
            bytes += static_cast<char>(high * 16 + static_cast<int>(value));
            high = -1;
        }
    }
    return bytes;
}

std::string hex(std::string_view bytes)
{
    std::string digits;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        digits += {kDigits[value / 16], kDigits[value % 16]};
    }
    return digits;
}

std::string hex64(unsigned long long value)
{
    std::array<char, 17> digits{};
    std::snprintf(digits.data(), digits.size(), "%016llx", value);
    return digits.data();
}

} // namespace zel::test
