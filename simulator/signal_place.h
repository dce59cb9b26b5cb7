#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zel::simulator {

enum class SignalKind { analog, can, fiber };

/// Which of the module's signals: all numbers count from 0, as in a signal reference. Analog
/// signals have no channel, CAN signals are the only one of their channel.
struct SignalPlace {
    SignalKind kind = SignalKind::analog;
    std::uint32_t connector = 0;
    std::uint32_t channel = 0;
    std::uint32_t signal = 0;

    auto operator<=>(const SignalPlace&) const = default;
};

/// Connectors with lower numbers belong to the amplifier, the others are additional ones.
inline constexpr std::uint32_t kAmplifierConnectors = 8;
inline constexpr std::uint32_t kConnectorsInAll = 10;
inline constexpr std::uint32_t kCanChannels = 8;
inline constexpr std::uint32_t kFiberChannels = 4;
inline constexpr std::uint32_t kSignalsOfChannel = 4;

/// Reads a signal reference, or a parameter path in the address or the numbered form; nothing when
/// it is neither. The place need not be one that the module has.
std::optional<SignalPlace> parseSignal(std::string_view text);

/// Such as `AnalogIn_Connector0.Signal0`.
std::string referenceOf(const SignalPlace& place);

/// Paths of the elements that make a signal what it is; their numbers count from 1.
std::string connectorPathOf(const SignalPlace& place);
std::string channelPathOf(const SignalPlace& place);
std::string signalPathOf(const SignalPlace& place);
/// The choice of the connector's mode with which the signal exists.
std::string_view modeOf(SignalKind kind);

} // namespace zel::simulator
