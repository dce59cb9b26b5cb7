#pragma once

#include "service_call.h"
#include "ZEL_VR_Framework.h"

#include <cstdint>
#include <span>

/// The status service: what is wrong with a module and what state it is in. Every function sends
/// one request, waits for the answer and returns its result.
namespace zel::status {

/// Fill `count` and as many entries as there is room for; more are dropped. The list is empty when
/// the result is not 0.
std::int32_t readErrors(const RemoteModule& module, std::uint32_t& count,
                        std::span<ZEL_ErrorEntry> entries);
std::int32_t readStatuses(const RemoteModule& module, std::uint32_t& count,
                          std::span<ZEL_StatusEntry> entries);

/// Both texts are cut to their buffers and always terminated; the lengths are those of the whole
/// texts, which are empty when the request failed.
std::int32_t readTedsStatus(const RemoteModule& module, std::uint32_t connector,
                            std::uint32_t& status, const TextBuffer& error,
                            const TextBuffer& warning);

} // namespace zel::status
