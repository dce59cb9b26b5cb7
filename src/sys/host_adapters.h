#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zel::sys {

struct HostAddress {
    std::string address;
    std::string mask;
};

/// One of the host's network adapters, as the system lists it at this moment.
struct HostAdapter {
    std::string name;
    std::string description;
    std::uint32_t interfaceIndex = 0;
    std::string physicalAddress;        // two hexadecimal digits for each byte, joined by ":"
    std::vector<HostAddress> addresses; // IPv4; the last one is the one that is reported
};

/// Whether there is an address to send from; some systems list 0.0.0.0 for none.
inline bool hasAddress(const HostAdapter& adapter)
{
    return !adapter.addresses.empty() && adapter.addresses.back().address != "0.0.0.0";
}

/// Asks the system anew on every call; empty when it cannot be asked. The loopback is none of them.
/// Throws std::system_error where the host is out of descriptors or memory: they are there then.
std::vector<HostAdapter> listHostAdapters();

} // namespace zel::sys
