#pragma once

#include "native_socket.h"
#include "socket_headers.h"

#include <cstdint>

/// The systems' own socket headers, and what is written alike with both. For source files only: the
/// names that these headers define are everywhere.
namespace zel::communication::native {

template <class Value>
bool setOption(sys::NativeSocket socket, int level, int name, const Value& value)
{
    return setsockopt(socket, level, name, reinterpret_cast<const char*>(&value), sizeof value) ==
           0;
}

/// The address is in the network's byte order, the port is not.
inline sockaddr_in endpoint(std::uint32_t address, std::uint16_t port)
{
    sockaddr_in made{};
    made.sin_family = AF_INET;
    made.sin_addr.s_addr = address;
    made.sin_port = htons(port);
    return made;
}

} // namespace zel::communication::native
