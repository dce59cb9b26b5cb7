#include "fixed_answer_module.h"
#include "measuring_module.h"
#include "processors.h"
#include "ZEL_VR_Framework.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <vector>

#include <benchmark/benchmark.h>
#include <sys/resource.h>

namespace {

using namespace zel::bench;

/// Time and processor time of this process, which does not count the modules'.
struct Cost {
    double seconds = 0;
    double processor = 0;

    Cost& operator+=(const Cost& other)
    {
        seconds += other.seconds;
        processor += other.processor;
        return *this;
    }
};

double processorSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

template <class Work>
Cost costOf(Work&& work)
{
    using Clock = std::chrono::steady_clock;
    const double processor = processorSeconds();
    const auto began = Clock::now();
    work();
    return {std::chrono::duration<double>(Clock::now() - began).count(),
            processorSeconds() - processor};
}

void require(std::int32_t result)
{
    if (result != ZEL_OK)
        throw std::runtime_error(ZEL_XUTIL_GetText(result));
}

/// Blocks of `range(0)` KiB, fetched one after the other, beside a bare stream of as many bytes in
/// chunks of the segments' size with an acknowledge for each. From a module that has its blocks
/// ready, or from a simulated one, which makes them.
void StreamingBesideBare(benchmark::State& state)
{
    std::vector<char> block(static_cast<std::size_t>(state.range(0)) << 10);
    const ApartFromModules apart;
    const bool isSimulated = state.range(1) != 0;
    ZEL_Init();
    std::uint64_t uuid = 0;
    require(ZEL_XCOM_ConnectToTcpIpDev(
        "127.0.0.1", isSimulated ? measuringModule().port() : module().port(), &uuid));
    require(ZEL_XDAQ_OpenSubscription(uuid));
    require(ZEL_XDAQ_AddSignal(uuid, "AnalogIn_Connector0.Signal0", 1, 2'000'000));
    require(ZEL_XDAQ_FinishSubscription(uuid, 0));
    BareSocket bare;
    std::vector<char> chunk(kSegmentSize);
    const std::string telegram = streamTelegram(true);
    Cost ours;
    Cost theirs;
    std::uint64_t bytes = 0;
    for (auto _ : state) {
        ours += costOf([&] {
            for (std::uint64_t fetched = 0; fetched < FixedAnswerModule::kLongAnswer;) {
                std::uint64_t size = 0;
                require(ZEL_XDAQ_GetMeasValBlock(uuid, block.data(), &size, block.size()));
                fetched += size;
                bytes += size;
            }
        });
        theirs += costOf([&] {
            bare.send(telegram);
            for (std::size_t received = 0; received < FixedAnswerModule::kLongAnswer;) {
                const std::size_t size =
                    std::min(kSegmentSize, FixedAnswerModule::kLongAnswer - received);
                bare.receive(chunk.data(), size);
                received += size;
                bare.send(telegram);
            }
        });
    }
    ZEL_XDAQ_ClearSubscription(uuid);
    ZEL_Unload();
    const double megabytes = static_cast<double>(bytes) / 1e6;
    const double bareMegabytes =
        static_cast<double>(state.iterations()) * FixedAnswerModule::kLongAnswer / 1e6;
    state.counters["MB/s"] = megabytes / ours.seconds;
    state.counters["bare_MB/s"] = bareMegabytes / theirs.seconds;
    state.counters["ratio"] = megabytes / ours.seconds / (bareMegabytes / theirs.seconds);
    state.counters["ms_CPU/MB"] = 1e3 * ours.processor / megabytes;
    state.counters["bare_ms_CPU/MB"] = 1e3 * theirs.processor / bareMegabytes;
}
BENCHMARK(StreamingBesideBare)
    ->ArgNames({"KiB", "simulated"})
    ->ArgsProduct({{59, 256, 1024, 4096}, {0, 1}})
    ->UseRealTime()
    ->Iterations(3)
    ->Unit(benchmark::kMillisecond);

} // namespace
