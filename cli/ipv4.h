#pragma once

#include "zel/address.hpp"

#include <cstdint>
#include <string>

namespace zel::cli {

std::string dotted(std::uint32_t address);

/// Whether it is a mask of a subnet with room for hosts: ones, then at least two zeros.
bool isSubnetMask(std::uint32_t mask);

/// Whether a device can have it: not a host's own, not multicast, not reserved.
bool isDeviceAddress(std::uint32_t address);

/// "192.168.169.0/24"
std::string networkText(const std::string& address, const std::string& mask);

} // namespace zel::cli
