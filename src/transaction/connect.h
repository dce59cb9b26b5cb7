#pragma once

#include <cstdint>
#include <string>

namespace zel {

class clConHndlr;

/// Opens a connection, unless there is one to this address, and learns the module's UUID.
/// Blocks for the resolver, at most 5 s for the connection and at most 5 s for the module's answer.
/// 0, ZEL_TCP_CONNECT_FAILED or ZEL_CONN_NO_ADDRESS_RESPONSE.
std::int32_t connectToModule(clConHndlr& connections, const std::string& host, std::uint16_t port,
                             std::uint64_t& uuid);

/// Closes the connection to an address: the module's UUID, or kNoUuid when there is none.
std::uint64_t disconnectByAddress(clConHndlr& connections, const std::string& host,
                                  std::uint16_t port);

} // namespace zel
