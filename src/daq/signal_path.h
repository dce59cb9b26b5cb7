#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// The two names of a signal: the parameter path, which says where it stands in the module's
/// parameter document, and the signal reference, which is short. Texts only: no module is asked,
/// any thread may call, also before the library is started and while the process ends.
///
/// A request that names a signal by its reference takes pathOf(), one that has its numbers
/// signalPath() in the address form; parseSignalPath() and numbersOf() lead back to the numbers.
/// Words are matched in full, with their case. Texts may be of any length and hold any bytes.
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
/// "Alarm", "Gate", "Math" or "Peak": the functions of one kind, or one of them.
std::string functionPath(std::string_view kind);
std::string functionPath(std::string_view kind, std::uint32_t index);

/// Takes an analog or CAN signal's path or reference apart. What the text says counts from 0, the
/// result from 1, whichever of the two it was: a path's own numbers come out one too high, which
/// callers rely on. Fiber paths are not recognised.
std::optional<SignalNumbers> parseSignalPath(std::string_view text);

/// What a signal reference begins with, before its first "_"; the numbers are the program's own.
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
/// By the word alone, whatever follows it.
ReferenceKind kindOf(std::string_view reference);

/// What a signal reference consists of: its word, "_", and components with a number each, joined
/// by ".". Components that it does not have are empty.
struct ReferenceForm {
    ReferenceKind kind; // other for the signals of optical modules that have no number as a kind
    std::string_view word;
    std::array<std::string_view, 3> components;
};

struct SignalReference {
    ReferenceForm form;
    std::array<std::uint32_t, 3> numbers; // of the components, as the text has them
};

/// Takes a signal reference of any form apart; nothing where the text is not wholly one.
std::optional<SignalReference> parseReference(std::string_view text);

/// The numbers of a reference that has a parameter path, counted from 1 as in that path; nothing
/// for other kinds and for what cannot be read. `canType` is the type of CAN signals.
std::optional<SignalNumbers> numbersOf(std::string_view reference, std::uint32_t canType);

/// The parameter path of a signal reference; empty where there is none.
std::string pathOf(std::string_view reference);

} // namespace zel::signals
