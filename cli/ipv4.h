#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace zel::cli {

/// A dotted IPv4 address as a number, or nothing.
std::optional<std::uint32_t> ipv4(const std::string& text);

std::string dotted(std::uint32_t address);

/// Whether it is a mask of a subnet with room for hosts: ones, then at least two zeros.
bool isSubnetMask(std::uint32_t mask);

/// Whether a device can have it: not a host's own, not multicast, not reserved.
bool isDeviceAddress(std::uint32_t address);

/// "192.168.169.0/24"
std::string networkText(const std::string& address, const std::string& mask);

} // namespace zel::cli
