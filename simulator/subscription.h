#pragma once

#include "signal_stream.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zel::simulator {

/// What one host has subscribed: the signals' streams, and how far it has fetched them.
class Subscription {
public:
    Subscription(std::uint64_t start, std::vector<SignalStream> streams, std::uint64_t version);

    /// What a fetch may take: samples of [keptFrom, until] on the module's clock.
    struct Window {
        std::uint64_t keptFrom = 0;
        std::uint64_t until = 0;
    };
    struct Block {
        std::string bytes;
        bool isTooSmall = false; ///< a record is ready, and not even its first sample fits
    };

    /// Takes the records that are ready, the oldest first, as many as fit.
    Block fetch(const ModuleModel& model, const Window& window, std::size_t mostBytes);
    /// A signal that has lost samples, or would if it were fetched now.
    std::optional<SignalPlace> overrunSignal(std::uint64_t keptFrom) const;

private:
    std::uint64_t sinceStart(std::uint64_t time) const;
    void drop(std::uint64_t keptFrom);
    SignalStream* oldestReady(std::uint64_t until);
    std::size_t sizeReady(std::uint64_t until, std::size_t most) const;

    const std::uint64_t m_start;
    std::vector<SignalStream> m_streams;
    std::uint64_t m_version; // of the parameters that the streams know
    std::optional<SignalPlace> m_overrun;
};

} // namespace zel::simulator
