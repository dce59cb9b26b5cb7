#pragma once

#include "byte_cursor.h"
#include "native_socket.h"

#include <cstdint>
#include <string>

/// The operating system's IPv4 datagram sockets, one thin call each; false where one fails.
/// Addresses are in the network's byte order.
namespace zel::communication::native {

using sys::NativeSocket;

/// kNoSocket when there is none to be had. Does not block.
NativeSocket openDatagram();
void closeDatagram(NativeSocket socket);

bool setReceiveBuffer(NativeSocket socket, int size);
/// Each datagram tells the adapter that it came in by.
bool setPacketInfo(NativeSocket socket);
bool setReuseAddress(NativeSocket socket);
bool setBroadcast(NativeSocket socket);
bool bindToPort(NativeSocket socket, std::uint16_t port);

bool setMulticastLoop(NativeSocket socket, bool isOn);
bool setMulticastInterface(NativeSocket socket, std::uint32_t address);
bool setMulticastTtl(NativeSocket socket, int ttl);
bool joinGroup(NativeSocket socket, std::uint32_t group, std::uint32_t interfaceAddress);
bool leaveGroup(NativeSocket socket, std::uint32_t group, std::uint32_t interfaceAddress);
/// The adapter that broadcasts leave by; 0 lets the system choose.
bool setBroadcastInterface(NativeSocket socket, std::uint32_t index);

/// One datagram; true when the whole of it left.
bool sendTo(NativeSocket socket, Bytes data, std::uint32_t address, std::uint16_t port);

/// A dotted address; false for any other text.
bool parseAddress(const std::string& text, std::uint32_t& address);

} // namespace zel::communication::native
