#pragma once

#include "service_call.h"
#include "ZEL_VR_Framework.h"

#include <cstdint>

namespace zel {
class clConHndlr;
}

/// Which modules there are: those that the library is connected to, and those behind a module.
namespace zel::topology {

/// The modules behind a module; for kNoUuid and the library's own UUID those of the connection
/// table, without asking anybody. All or none: ZEL_SRV_BUFFER_TOO_SMALL leaves the count at 0.
std::int32_t readConnectedModules(const RemoteModule& module, const clConHndlr& connections,
                                  ZEL_ConnectedModule* modules, std::uint64_t& count,
                                  std::uint64_t capacity);

/// The document of all connections, in the order of their UUIDs.
std::int32_t compose(const clConHndlr& connections, const TextBuffer& buffer);
std::int32_t composeToFile(const clConHndlr& connections, const char* fileName);

} // namespace zel::topology
