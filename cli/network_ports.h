#pragma once

#include <cstdint>
#include <string>

namespace zel::cli {

/// `shared`: another program has the port, and lets others have it too. `taken`: it does not.
enum class PortState { free, shared, taken };

struct PortCheck {
    PortState state = PortState::free;
    std::string reason; ///< the system's own words, unless the port is free
};

/// Why the UDP port cannot be bound, in the system's words; empty when it can. Where it is shared,
/// other programs may have it too.
std::string whyNotBound(std::uint16_t port, bool isShared);

/// What can be had of a UDP port of this host.
PortCheck checkPort(std::uint16_t port);

/// Answers to scans come to two ports. Tells on standard error when one of them is taken; throws
/// CommandFailure when both are, for then no answer can be heard.
void requireScanPorts();

} // namespace zel::cli
