#include "library_session.h"
#include "measuring_modules.h"
#include "stopwatch.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <unistd.h>

namespace {

using namespace zel::bench;

constexpr std::size_t kThreads = 16;
constexpr std::size_t kModulesOfAThread = 63;
constexpr std::chrono::milliseconds kBetweenFetches{100};

double residentKiB()
{
    std::size_t total = 0;
    std::size_t resident = 0;
    std::ifstream{"/proc/self/statm"} >> total >> resident;
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1024;
}

/// One module's samples as they come: none may be missing, none may come twice.
class SampleStream {
public:
    explicit SampleStream(std::uint64_t uuid) : m_uuid(uuid)
    {
        require(ZEL_XDAQ_OpenSubscription(uuid));
        require(ZEL_XDAQ_AddSignal(uuid, "AnalogIn_Connector0.Signal0", 1, 2'000'000));
        require(ZEL_XDAQ_FinishSubscription(uuid, 0));
    }

    void fetch(std::vector<char>& block, std::vector<float>& values)
    {
        std::uint64_t length = 0;
        require(ZEL_XDAQ_GetMeasValBlock(m_uuid, block.data(), &length, block.size()));
        ZEL_DaqHeader header{};
        std::uint64_t offset = 0;
        for (std::uint32_t i = 0; ZEL_XUTIL_GetDaqHeader(ZEL_DAQ_BY_INDEX, i, block.data(), length,
                                                         &header, &offset) == ZEL_OK;
             ++i) {
            values.resize(std::max<std::size_t>(values.size(), header.count));
            require(ZEL_XUTIL_GetDaqData(offset, block.data(), &header, values.data(),
                                         header.count * sizeof values[0]));
            take(header);
        }
    }

    void end() const { require(ZEL_XDAQ_ClearSubscription(m_uuid)); }
    std::uint64_t samples() const { return m_samples; }
    std::uint64_t gaps() const { return m_gaps; }

private:
    void take(const ZEL_DaqHeader& header)
    {
        const double period = 1e12 / static_cast<double>(header.extra.u64);
        const double since = static_cast<double>(header.timeStamp - m_begin);
        if (std::abs(since - period * static_cast<double>(m_sinceBegin)) > period / 2) {
            if (m_samples > 0)
                ++m_gaps;
            m_begin = header.timeStamp;
            m_sinceBegin = 0;
        }
        m_sinceBegin += header.count;
        m_samples += header.count;
    }

    std::uint64_t m_uuid;
    std::uint64_t m_begin = 0;      // time of the first sample, or of the one behind the last gap
    std::uint64_t m_sinceBegin = 0; // samples
    std::uint64_t m_samples = 0;
    std::uint64_t m_gaps = 0;
};

struct Measurement {
    double samples = 0;
    double gaps = 0;
    double processor = 0;      // seconds
    double shortestStream = 0; // seconds
};

/// Each thread fetches from its modules ten times a second.
Measurement measure(const LibrarySession& library, std::size_t modules, double seconds)
{
    std::vector<SampleStream> streams;
    for (std::size_t i = 0; i < modules; ++i)
        streams.emplace_back(library.module(i));
    const auto began = Clock::now();
    const double processor = processorSeconds();
    std::vector<std::thread> threads;
    for (std::size_t first = 0; first < modules; first += kModulesOfAThread)
        threads.emplace_back([&, first] {
            std::vector<char> block(std::size_t{64} << 10);
            std::vector<float> values;
            const std::size_t end = std::min(first + kModulesOfAThread, modules);
            auto next = Clock::now();
            while (secondsSince(began) < seconds) {
                for (std::size_t i = first; i < end; ++i)
                    streams[i].fetch(block, values);
                std::this_thread::sleep_until(next += kBetweenFetches);
            }
            for (std::size_t i = first; i < end; ++i)
                streams[i].fetch(block, values);
        });
    for (std::thread& thread : threads)
        thread.join();
    Measurement result{.processor = processorSeconds() - processor};
    for (const SampleStream& stream : streams) {
        stream.end();
        result.samples += static_cast<double>(stream.samples());
        result.gaps += static_cast<double>(stream.gaps());
    }
    const auto fewest = std::ranges::min_element(streams, {}, &SampleStream::samples);
    result.shortestStream = static_cast<double>(fewest->samples()) / kSampleRate;
    return result;
}

/// A thousand modules that measure 1200 values a second each, for ZEL_BENCH_MODULE_SECONDS (2 where
/// it is not set): what connecting them takes, whether samples are lost, what each costs beside
/// those of ten modules, and what an idle second costs afterwards.
void ThousandModules(benchmark::State& state)
{
    constexpr std::size_t kMany = 1000;
    constexpr std::size_t kFew = 10;
    const double seconds = fromEnvironment("ZEL_BENCH_MODULE_SECONDS", 2);
    const PeerProcess modules{[] { return startMeasuringModules(kMany); }};
    for (auto _ : state) {
        Measurement few;
        {
            const LibrarySession library{kFew, measuringHost, modules.port()};
            few = measure(library, kFew, std::min(seconds, 15.0));
        }
        // What earlier benchmarks have left free would be taken before anything grows.
        malloc_trim(0);
        const double residentBefore = residentKiB();
        const auto began = Clock::now();
        const LibrarySession library{kMany, measuringHost, modules.port(), kThreads};
        state.counters["connect_s"] = secondsSince(began);
        const Measurement many = measure(library, kMany, seconds);
        state.counters["KiB_each"] = (residentKiB() - residentBefore) / kMany;
        state.counters["samples"] = many.samples;
        state.counters["gaps"] = many.gaps;
        state.counters["shortest_s"] = many.shortestStream;
        const double costOfMany = 1e9 * many.processor / many.samples;
        const double costOfFew = 1e9 * few.processor / few.samples;
        state.counters["cpu_ns_sample"] = costOfMany;
        state.counters["ten_cpu_ns_sample"] = costOfFew;
        state.counters["ratio_cpu"] = costOfMany / costOfFew;
        // A timer that was set for the last request may still wake the loop once.
        std::this_thread::sleep_for(std::chrono::seconds{4});
        const double processor = processorSeconds();
        std::this_thread::sleep_for(std::chrono::seconds{1});
        state.counters["idle_cpu_us"] = 1e6 * (processorSeconds() - processor);
    }
}
BENCHMARK(ThousandModules)->UseRealTime()->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace
