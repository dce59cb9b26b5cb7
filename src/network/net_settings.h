#pragma once

#include "service_call.h"

#include <cstdint>
#include <string_view>

/// The network settings of a module, a part of its parameters. A module that is not connected is
/// asked by `datagrams`, which reach it though its address may not fit.
namespace zel::network {

/// One interface, or the section with all of them.
enum class NetSettings { oneInterface, section };

std::int32_t readNetSettings(const RemoteModule& module, const RequestPath& datagrams,
                             NetSettings which, const TextBuffer& buffer);
std::int32_t writeNetSettings(const RemoteModule& module, const RequestPath& datagrams,
                              std::string_view document);

} // namespace zel::network
