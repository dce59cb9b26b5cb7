#include "library_session.h"
#include "side_by_side.h"

#include <string>
#include <thread>

#include <benchmark/benchmark.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace {

using namespace zel::bench;

/// Sends datagrams that are no telegrams to the library's port for as long as the process lives.
[[noreturn]] void flood()
{
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in port{};
    port.sin_family = AF_INET;
    port.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    port.sin_port = htons(1201);
    const std::string noise(500, 'x');
    for (;;)
        sendto(socket, noise.data(), noise.size(), 0, reinterpret_cast<sockaddr*>(&port),
               sizeof port);
}

/// The round trip over TCP while strangers flood the port for datagrams, which is the library's
/// work and not the bare socket's.
void ReadParDuringAFlood(benchmark::State& state)
{
    const PeerProcess stranger{[] {
        std::thread{flood}.detach();
        return std::uint16_t{1};
    }};
    const LibrarySession library{1};
    BareSocket bare;
    compare(state, {{"library", oneByOne(100, [&] { readPar(library.module(0)); })},
                    {"bare", oneByOne(100, [&] { bare.readPar(); })}});
}
BENCHMARK(ReadParDuringAFlood)->Apply(sideBySide);

} // namespace
