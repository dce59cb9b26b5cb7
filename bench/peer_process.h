#pragma once

#include <cstdint>
#include <functional>

#include <sys/types.h>

namespace zel::bench {

/// A process on the other side of the wire. Made by fork, before this one has another thread; ends
/// with it.
class PeerProcess {
public:
    /// The work says on which port it can be reached; when it returns, the process waits for its
    /// end.
    using Work = std::function<std::uint16_t()>;
    explicit PeerProcess(const Work& work);
    ~PeerProcess();
    PeerProcess(const PeerProcess&) = delete;
    PeerProcess& operator=(const PeerProcess&) = delete;

    std::uint16_t port() const { return m_port; }

private:
    std::uint16_t m_port = 0;
    pid_t m_process = -1;
};

/// Where this process and the peers run.
enum class Placement {
    unpinned, ///< wherever the system puts them
    apart,    ///< the peers on the last processor, this process on the others
    together, ///< all on the last processor
};

/// Keeps this thread, those that it starts, and the peers in a place. Without that a pair of
/// processes is now on one processor and now on two, which makes a difference of four.
class Placed {
public:
    explicit Placed(Placement placement);
    ~Placed();
    Placed(const Placed&) = delete;
    Placed& operator=(const Placed&) = delete;
};

} // namespace zel::bench
