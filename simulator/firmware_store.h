#pragma once

#include "method_call.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace zel::simulator {

/// The firmware images that were received, and flashing them, which takes a while.
class FirmwareStore {
public:
    static constexpr std::uint32_t kImages = 13;
    enum class Status : std::uint32_t { idle = 0, running = 1, done = 2, failed = 3 };
    struct Progress {
        Status status;
        std::uint32_t percent;
    };

    FirmwareStore(milliseconds flashTime, bool fails) : m_flashTime(flashTime), m_fails(fails) {}

    /// Names the image that comes next.
    Outcome announce(std::uint32_t index);
    Outcome receive(std::string image);
    Outcome startFlashing();
    /// Flashes the processor of one channel.
    Outcome startChannelFlashing(std::uint32_t channel);
    Progress progress() const;
    void restarted();

    const std::map<std::uint32_t, std::string>& images() const { return m_images; }

private:
    Outcome start(bool hasImage);

    const milliseconds m_flashTime;
    const bool m_fails;
    std::optional<std::uint32_t> m_announced;
    std::map<std::uint32_t, std::string> m_images;
    std::optional<std::chrono::steady_clock::time_point> m_started;
};

} // namespace zel::simulator
