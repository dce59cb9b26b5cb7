#pragma once

#include <cstdint>
#include <string>

/// Changes of this host's own adapters, for hosts that offer them to their users; no export calls
/// them. Windows only: elsewhere all answer that it cannot be done.
namespace zel::network {

/// Whether an adapter is one for IP over FireWire: 1, 0, or -1 when the system cannot be asked.
int isFirewireAdapter(std::uint32_t interfaceIndex);

/// 0 or -1. The texts are dotted IPv4 addresses.
int setStaticAddress(std::uint32_t interfaceIndex, const std::string& address,
                     const std::string& mask);
int switchToDhcp(std::uint32_t interfaceIndex);

} // namespace zel::network
