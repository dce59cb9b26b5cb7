#pragma once

#include "byte_cursor.h"
#include "native_socket.h"

#include <chrono>
#include <cstddef>
#include <optional>
#include <span>
#include <string>

struct sockaddr;

/// The operating system's stream sockets, one thin call each, with one way to tell their failures.
namespace zel::communication::native {

using sys::NativeSocket;

enum class Failure { none, wouldBlock, inProgress, pending, interrupted, other };

struct Transfer {
    std::ptrdiff_t count = -1; // bytes moved; 0: the peer has closed; -1: see failure
    Failure failure = Failure::none;
};

enum class Direction { read, write };
enum class Wait { ready, timedOut, interrupted, failed };

NativeSocket openStream(int family);
/// Non-blocking, no delay for small telegrams, keep-alive probes after one second of silence and
/// every second from then on. A peer that is silent for ten seconds ends the connection, also while
/// data wait for it, when no probes go out.
bool setStreamOptions(NativeSocket socket);
/// For how long nothing has come from the peer's system, not even an answer to a probe; nothing
/// where the system does not tell.
std::optional<std::chrono::milliseconds> silenceOf(NativeSocket socket);
/// The ten seconds begin with what is sent next. To be called before something is sent into a
/// silence, which counts then, and again when that is over.
void countSilence(NativeSocket socket);
/// Failure::none when connected at once, wouldBlock while the connection is being made.
Failure connect(NativeSocket socket, const sockaddr* address, std::size_t length);
bool isConnectionMade(NativeSocket socket);

/// A negative time waits without limit.
Wait waitFor(NativeSocket socket, Direction direction, int milliseconds);

/// One call that fills `first` and then `second`.
Transfer receive(NativeSocket socket, MutableBytes first, MutableBytes second);
/// One gathered send; may take only a part of the buffers.
Transfer send(NativeSocket socket, std::span<const Bytes> buffers);

void shutDown(NativeSocket socket);
void close(NativeSocket socket);

/// The numeric host and service of an address, to be compared with others; empty when it has none.
std::string nameOf(const sockaddr* address, std::size_t length);
std::string peerNameOf(NativeSocket socket);

} // namespace zel::communication::native
