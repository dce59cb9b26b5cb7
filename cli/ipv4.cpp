#include "ipv4.h"

#include <bit>

namespace zel::cli {

std::string dotted(std::uint32_t address)
{
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8)
        text += std::to_string(address >> shift & 255U) + (shift > 0 ? "." : "");
    return text;
}

bool isSubnetMask(std::uint32_t mask)
{
    const int ones = std::countl_one(mask);
    return ones > 0 && ones <= 30 && std::popcount(mask) == ones;
}

bool isDeviceAddress(std::uint32_t address)
{
    const std::uint32_t first = address >> 24U;
    return first != 0 && first != 127 && first < 224;
}

std::string networkText(const std::string& address, const std::string& mask)
{
    const auto number = ipv4(address);
    const auto bits = ipv4(mask);
    if (!number || !bits)
        return "no network";
    return dotted(*number & *bits) + "/" + std::to_string(std::popcount(*bits));
}

} // namespace zel::cli
