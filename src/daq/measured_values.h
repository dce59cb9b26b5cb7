#pragma once

#include "service_call.h"
#include "ZEL_VR_Framework.h"

#include <cstdint>
#include <span>
#include <string>

/// Measured values as a module sends them on request, and what it has to offer. Each function is
/// one method request of service 5, waits for the answer and returns its result. What comes with a
/// warning is taken as if without.
namespace zel::daq {

/// The request for a block of at most so many bytes.
std::string blockRequest(std::uint64_t size);

/// Copies the records that the module has ready, as many bytes as fit: ZEL_SRV_BUFFER_TOO_SMALL
/// when that is not all. `received` gets how many were copied.
std::int32_t readBlock(const RemoteModule& module, void* buffer, std::uint64_t size,
                       std::uint64_t& received);

/// The physical value of a signal.
inline constexpr std::uint32_t kPhysical = 2;

/// The current value of a signal, named by its reference or its parameter path. A reference without
/// a path is refused before anything is sent: ZEL_SIGNAL_UNKNOWN, ZEL_SIGNAL_NOT_SUPPORTED,
/// ZEL_SIGNAL_NOT_CORRECT. `value` is set on success only.
std::int32_t readValue(const RemoteModule& module, const char* signal, std::uint32_t scaleType,
                       double& value);

// Lists: `count` becomes the number of entries, also when there is no room for all of them and
// ZEL_SRV_BUFFER_TOO_SMALL comes; 0 on any other failure.

std::int32_t readAllValues(const RemoteModule& module, bool enabledOnly,
                           std::span<ZEL_MeasuredValue> values, std::uint64_t& count);
/// ZEL_SignalInfo or ZEL_SignalInfoEx.
template <class Info>
std::int32_t readSignals(const RemoteModule& module, std::span<Info> signals, std::uint64_t& count);

/// The list of signals as the module writes it.
std::int32_t readSignalsText(const RemoteModule& module, const TextBuffer& buffer);

/// What requests carry: the text itself where it is a path, else the path of the reference.
std::int32_t toPath(const char* signal, std::string& path);

} // namespace zel::daq
