#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// The two names of a signal: the parameter path, which says where it stands in the module's
/// parameter document, and the signal reference, which is short. Texts only: no module is asked,
/// any thread may call.
namespace zel::signals {

/// How a path names its connector: `Connector[@address="2"]` or `Connector2`.
enum class PathForm { address, numbered };

struct SignalNumbers {
    std::uint32_t connector = 0;
    std::uint32_t channel = 0;
    std::uint32_t signal = 0;
    std::uint32_t type = 0; // ZEL_CONNECTOR_...; any other is composed like an analog one
};

// Numbers are written as they are given.

std::string channelPath(const SignalNumbers& numbers, PathForm form);
/// Empty for an unknown type.
std::string sensorPath(const SignalNumbers& numbers);
/// Additional CAN connectors have one form only.
std::string signalPath(const SignalNumbers& numbers, PathForm form);
std::string amplifierPath(std::uint32_t connector);
std::string alarmPath();
std::string gatePath();
std::string peakPath();
std::string alarmIndexPath(std::uint32_t index);
std::string gateIndexPath(std::uint32_t index);
std::string mathIndexPath(std::uint32_t index);
std::string peakIndexPath(std::uint32_t index);

/// Takes an analog or CAN signal's path or reference apart. What the text says counts from 0, the
/// result from 1, whichever of the two it was: a path's own numbers come out one too high, which
/// callers rely on. Fiber paths are not recognised.
std::optional<SignalNumbers> parseSignalPath(std::string_view text);

/// What a signal reference begins with, before its first "_".
enum class ReferenceKind {
    analogIn,
    analogOut,
    digitalIo,
    canReceiver,
    etherCatReceiver,
    alarm,
    gate,
    math,
    peak,
    signalGenerator,
    canRawReceiver,
    canCcpXcpReceiver,
    fiber,
    other,
};
ReferenceKind kindOf(std::string_view reference);

/// The numbers of a reference that has a parameter path, counted from 1 as in that path; nothing
/// for other kinds and for what does not read. `canType` is the type of CAN signals.
std::optional<SignalNumbers> numbersOf(std::string_view reference, std::uint32_t canType);

/// The parameter path of a signal reference; empty where there is none.
std::string pathOf(std::string_view reference);

} // namespace zel::signals
