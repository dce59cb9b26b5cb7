#include "library_session.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using namespace zel::bench;
using Clock = std::chrono::steady_clock;

/// Sends datagrams that are no telegrams to the library's port for as long as it lives.
class Flood {
public:
    Flood() : m_thread([this] { run(); }) {}
    ~Flood()
    {
        m_mustEnd = true;
        m_thread.join();
    }
    std::uint64_t sent() const { return m_sent; }

private:
    void run()
    {
        const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        sockaddr_in port{};
        port.sin_family = AF_INET;
        port.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        port.sin_port = htons(1201);
        const std::string noise(500, 'x');
        while (!m_mustEnd) {
            sendto(socket, noise.data(), noise.size(), 0, reinterpret_cast<sockaddr*>(&port),
                   sizeof port);
            ++m_sent;
        }
        close(socket);
    }

    std::atomic<bool> m_mustEnd{false};
    std::atomic<std::uint64_t> m_sent{0};
    std::thread m_thread;
};

double medianOfCalls(const LibrarySession& library)
{
    std::vector<double> times;
    for (int i = 0; i < 2000; ++i) {
        const auto began = Clock::now();
        readPar(library.module(0));
        times.push_back(std::chrono::duration<double, std::micro>(Clock::now() - began).count());
    }
    std::nth_element(times.begin(), times.begin() + 1000, times.end());
    return times[1000];
}

/// The round trip over TCP while strangers flood the port for datagrams, beside the one without.
void ReadParDuringAFlood(benchmark::State& state)
{
    LibrarySession library{1};
    double calm = 0;
    double flooded = 0;
    double sent = 0;
    for (auto _ : state) {
        calm += medianOfCalls(library);
        const Flood flood;
        flooded += medianOfCalls(library);
        sent += static_cast<double>(flood.sent());
    }
    const auto rounds = static_cast<double>(state.iterations());
    state.counters["calm_us"] = calm / rounds;
    state.counters["flooded_us"] = flooded / rounds;
    state.counters["ratio"] = flooded / calm;
    state.counters["datagrams"] = sent;
}
BENCHMARK(ReadParDuringAFlood)->UseRealTime()->Iterations(3)->Unit(benchmark::kMillisecond);

} // namespace
