#pragma once

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <string>

namespace zel::simulator {

/// As few characters as bring the same number back.
inline std::string plainNumber(double number)
{
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, number).ptr};
}

/// A UUID as people read it, with all of its digits.
inline std::string uuidText(std::uint64_t uuid)
{
    char text[24];
    std::snprintf(text, sizeof text, "0x%016llx", static_cast<unsigned long long>(uuid));
    return text;
}

} // namespace zel::simulator
