#include "library_session.h"
#include "other_protocols.h"
#include "side_by_side.h"

#include <cstdint>
#include <deque>
#include <vector>

#include <benchmark/benchmark.h>

namespace {

using namespace zel::bench;

constexpr int kRun = 100;

void compareReads(benchmark::State& state, const LibrarySession& library,
                  const std::vector<Side>& others = {})
{
    BareSocket bare;
    std::vector<Side> sides{{"library", oneByOne(kRun, [&] { readPar(library.module(0)); })},
                            {"bare", oneByOne(kRun, [&] { bare.readPar(); })}};
    sides.insert(sides.end(), others.begin(), others.end());
    compare(state, sides);
}

/// One value, read again and again by one thread, also by other libraries.
void ReadParBesideBare(benchmark::State& state, Placement placement)
{
    const Placed placed{placement};
    std::vector<Side> others;
    for (const OtherProtocol& other : otherProtocols())
        others.push_back({other.name, oneByOne(kRun, other.connect(other.peer->port()))});
    compareReads(state, LibrarySession{1}, others);
}
BENCHMARK_CAPTURE(ReadParBesideBare, unpinned, Placement::unpinned)->Apply(sideBySide);
BENCHMARK_CAPTURE(ReadParBesideBare, apart, Placement::apart)->Apply(sideBySide);
BENCHMARK_CAPTURE(ReadParBesideBare, together, Placement::together)->Apply(sideBySide);

/// The same while `range(0)` asynchronous reads wait on the same connection.
void ReadParBesidePending(benchmark::State& state)
{
    struct Read {
        char data;
        std::uint64_t received;
        std::uint32_t handle;
    };
    const Placed placed{Placement::apart};
    std::vector<Read> pending(static_cast<std::size_t>(state.range(0)));
    const LibrarySession library{1};
    for (Read& read : pending)
        require(ZEL_XDAQ_Async_GetMeasValBlock(library.module(0), &read.data, &read.received,
                                               sizeof read.data, &read.handle));
    compareReads(state, library);
}
BENCHMARK(ReadParBesidePending)
    ->ArgName("pending")
    ->Arg(0)
    ->Arg(20000)
    ->Arg(60000)
    ->Apply(sideBySide);

/// Requests from `range(0)` threads over `range(1)` connections, beside a bare socket to a thread.
void RequestsBesideBare(benchmark::State& state)
{
    const auto threads = static_cast<std::size_t>(state.range(0));
    const int each = static_cast<int>(6400 / threads);
    const LibrarySession library{static_cast<std::size_t>(state.range(1))};
    std::deque<BareSocket> bare(threads);
    compare(state,
            {{"library",
              fromThreads(threads, each, [&](std::size_t i) { readPar(library.module(i)); })},
             {"bare", fromThreads(threads, each, [&](std::size_t i) { bare[i].readPar(); })}});
}
BENCHMARK(RequestsBesideBare)
    ->ArgNames({"threads", "connections"})
    ->Args({1, 1})
    ->Args({4, 1})
    ->Args({16, 1})
    ->Args({64, 1})
    ->Args({200, 200})
    ->Apply(sideBySide);

} // namespace
