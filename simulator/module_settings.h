#pragma once

#include "method_call.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace zel::simulator {

inline constexpr std::uint16_t kDefaultTcpPort = 55000;

/// The largest response data that fits one telegram: what 16 bits of length leave beside the
/// transaction header and the response header.
inline constexpr std::size_t kLargestWholeAnswer = 65535 - 12 - 8;
inline constexpr std::size_t kLargestSegment = 61440;

/// Who a module is and how it behaves; fixed when it is added.
struct ModuleSettings {
    std::uint64_t uuid = 0x0000001234ab0001;
    std::string address = "127.0.0.1";
    std::uint16_t port = 0; ///< 0 takes a free one
    std::string name = "MOD-1";
    std::string type = "VR-8";
    std::string firmwareVersion = "4.2.1";
    std::string serialNumber = "00014711";

    std::size_t largestWholeAnswer = kLargestWholeAnswer;
    std::size_t segmentSize = kLargestSegment;
    std::size_t largestRequest = 64u << 20;
    std::size_t maxConnections = 64;
    int receiveBuffer = 0; ///< of each connection's socket; 0 leaves it to the system

    std::size_t tedsCapacity = 256;
    milliseconds flashTime{2000};
    bool flashingFails = false;
    milliseconds restartTime{1000};
    /// Hears broadcasts and multicasts, and moves to the address that its network settings get.
    bool answersScans = false;
    /// What it does not hear is lost, as behind a switch that passes only one of the two.
    bool hearsBroadcasts = true;
    bool hearsMulticasts = true;
    bool answersRestart = true;

    /// What a subscription keeps for a host that does not fetch.
    milliseconds bufferTime{5000};
    /// Measures as fast as its hosts fetch instead of in real time.
    bool freeRunning = false;
    /// The module's clock, nanoseconds since 1970 in UTC; empty: the host's. Called on the
    /// simulator's thread.
    std::function<std::uint64_t()> clock;

    /// Bounds on what received() keeps, so that a module can run for weeks.
    std::size_t keptCalls = 10000;
    std::size_t keptBytes = 64u << 20;
};

} // namespace zel::simulator
