#include "library_session.h"

#include <chrono>
#include <fstream>
#include <thread>

#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

using namespace zel::bench;

double residentKiB()
{
    std::size_t total = 0;
    std::size_t resident = 0;
    std::ifstream{"/proc/self/statm"} >> total >> resident;
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1024;
}

double processorMilliseconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto ms = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
    };
    return ms(usage.ru_utime) + ms(usage.ru_stime);
}

/// What a thousand connections cost: memory for each, and the processor's time over two idle
/// seconds. Every connection has read one answer.
void ThousandConnections(benchmark::State& state)
{
    constexpr std::size_t kCount = 1000;
    for (auto _ : state) {
        LibrarySession warmUp{1};
        readPar(warmUp.module(0));
        const double before = residentKiB();
        const LibrarySession library{kCount};
        for (std::size_t i = 0; i < kCount; ++i)
            readPar(library.module(i));
        state.counters["KiB_each"] = (residentKiB() - before) / kCount;
        // A timer that was set for the last request may still wake the loop once.
        std::this_thread::sleep_for(std::chrono::seconds{4});
        const double processor = processorMilliseconds();
        std::this_thread::sleep_for(std::chrono::seconds{2});
        state.counters["idle_ms_in_2s"] = processorMilliseconds() - processor;
    }
}
BENCHMARK(ThousandConnections)->UseRealTime()->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace
