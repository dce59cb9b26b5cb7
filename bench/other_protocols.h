#pragma once

#include "peer_process.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace zel::bench {

/// How other libraries make a round trip like that of one read, for whoever chooses among them.
struct OtherProtocol {
    std::string name;
    PeerProcess::Work serve;
    /// Connects to the peer on this port and gives the call that makes one round trip.
    std::function<std::function<void()>(std::uint16_t port)> connect;
    std::unique_ptr<PeerProcess> peer;
};

/// Those whose libraries the build found.
std::vector<OtherProtocol>& otherProtocols();

/// Adds one, at the program's start.
struct AddedProtocol {
    explicit AddedProtocol(OtherProtocol protocol)
    {
        otherProtocols().push_back(std::move(protocol));
    }
};

} // namespace zel::bench
