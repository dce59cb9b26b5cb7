#include "library_session.h"
#include "processors.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>

namespace {

using namespace zel::bench;
using Clock = std::chrono::steady_clock;

double median(std::vector<double>& values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

template <class Work>
double microseconds(Work&& work)
{
    const auto began = Clock::now();
    work();
    return std::chrono::duration<double, std::micro>(Clock::now() - began).count();
}

/// The library's round trip and the bare one by turns, in runs of a hundred, so that whatever else
/// the machine does hits both.
void ReadParBesideBare(benchmark::State& state)
{
    constexpr int kRun = 100;
    const ApartFromModules apart;
    LibrarySession library{1};
    BareSocket bare;
    const std::string request = readParTelegram();
    std::string answer(readParAnswerSize(), '\0');
    std::vector<double> ours;
    std::vector<double> theirs;
    for (auto _ : state) {
        for (int i = 0; i < kRun; ++i)
            ours.push_back(microseconds([&] { readPar(library.module(0)); }));
        for (int i = 0; i < kRun; ++i)
            theirs.push_back(microseconds([&] {
                bare.send(request);
                bare.receive(answer.data(), answer.size());
            }));
    }
    const double libraryMedian = median(ours);
    const double bareMedian = median(theirs);
    state.counters["library_us"] = libraryMedian;
    state.counters["bare_us"] = bareMedian;
    state.counters["ratio"] = libraryMedian / bareMedian;
}
BENCHMARK(ReadParBesideBare)->UseRealTime()->Iterations(100)->Unit(benchmark::kMillisecond);

/// A round trip while `range(0)` asynchronous reads wait on the same connection.
void ReadParBesidePending(benchmark::State& state)
{
    struct Read {
        char data;
        std::uint64_t received;
        std::uint32_t handle;
    };
    const ApartFromModules apart;
    std::vector<Read> pending(static_cast<std::size_t>(state.range(0)));
    LibrarySession library{1};
    for (Read& read : pending)
        if (ZEL_XDAQ_Async_GetMeasValBlock(library.module(0), &read.data, &read.received,
                                           sizeof read.data, &read.handle) != ZEL_OK)
            throw std::runtime_error("a read could not be started");
    std::vector<double> times;
    for (auto _ : state)
        times.push_back(microseconds([&] { readPar(library.module(0)); }));
    state.counters["median_us"] = median(times);
}
BENCHMARK(ReadParBesidePending)
    ->ArgName("pending")
    ->Arg(0)
    ->Arg(20000)
    ->Arg(60000)
    ->UseRealTime()
    ->Iterations(10000)
    ->Unit(benchmark::kMicrosecond);

/// Requests a second from `range(0)` threads over `range(1)` connections.
void Requests(benchmark::State& state)
{
    const auto threads = static_cast<std::size_t>(state.range(0));
    const auto connections = static_cast<std::size_t>(state.range(1));
    constexpr int kEach = 200;
    LibrarySession library{connections};
    for (auto _ : state) {
        std::vector<std::thread> callers;
        for (std::size_t i = 0; i < threads; ++i)
            callers.emplace_back([&library, i] {
                for (int call = 0; call < kEach; ++call)
                    readPar(library.module(i + static_cast<std::size_t>(call) * 7));
            });
        for (std::thread& caller : callers)
            caller.join();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0) * kEach);
}
BENCHMARK(Requests)
    ->ArgNames({"threads", "connections"})
    ->Args({1, 1})
    ->Args({4, 1})
    ->Args({16, 1})
    ->Args({64, 1})
    ->Args({64, 200})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

/// The same from bare sockets, one to a thread.
void BareRequests(benchmark::State& state)
{
    const auto threads = static_cast<std::size_t>(state.range(0));
    constexpr int kEach = 200;
    std::vector<BareSocket> sockets(threads);
    const std::string request = readParTelegram();
    for (auto _ : state) {
        std::vector<std::thread> callers;
        for (BareSocket& socket : sockets)
            callers.emplace_back([&] {
                std::string answer(readParAnswerSize(), '\0');
                for (int call = 0; call < kEach; ++call) {
                    socket.send(request);
                    socket.receive(answer.data(), answer.size());
                }
            });
        for (std::thread& caller : callers)
            caller.join();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0) * kEach);
}
BENCHMARK(BareRequests)
    ->ArgName("threads")
    ->Arg(1)
    ->Arg(4)
    ->Arg(16)
    ->Arg(64)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

} // namespace
