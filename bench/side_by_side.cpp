#include "side_by_side.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <thread>

namespace zel::bench {

namespace {

constexpr int kFewestRuns = 3;

struct Measured {
    std::vector<double> times; // microseconds of each call
    std::vector<double> runs;  // microseconds of a call, over each run
    double processor = 0;      // microseconds over all calls

    void measure(const Side& side)
    {
        const std::size_t before = times.size();
        const double processorBefore = processorSeconds();
        const auto began = Clock::now();
        side.run(times);
        const double seconds = secondsSince(began);
        processor += 1e6 * (processorSeconds() - processorBefore);
        runs.push_back(1e6 * seconds / static_cast<double>(times.size() - before));
    }

    double processorOfACall() const { return processor / static_cast<double>(times.size()); }
};

double quantile(std::vector<double>& values, double part)
{
    const auto at = values.begin() + static_cast<std::ptrdiff_t>(
                                         part * static_cast<double>(values.size() - 1) + 0.5);
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

} // namespace

Side::Run fromThreads(std::size_t threads, int count, std::function<void(std::size_t)> call)
{
    return [=](std::vector<double>& times) {
        std::vector<std::vector<double>> parts(threads);
        std::vector<std::thread> callers;
        for (std::size_t i = 0; i < threads; ++i)
            callers.emplace_back([&part = parts[i], &call, count, i] {
                part.reserve(static_cast<std::size_t>(count));
                oneByOne(count, [&call, i] { call(i); })(part);
            });
        for (std::thread& caller : callers)
            caller.join();
        for (const auto& part : parts)
            times.insert(times.end(), part.begin(), part.end());
    };
}

void compare(benchmark::State& state, std::vector<Side> sides, std::size_t bytes, double share)
{
    std::vector<Measured> measured(sides.size());
    std::vector<double> ignored;
    for (const Side& side : sides)
        side.run(ignored);
    const double seconds = share * fromEnvironment("ZEL_BENCH_SECONDS", 2);
    for (auto _ : state) {
        const auto began = Clock::now();
        for (int run = 0; run < kFewestRuns || secondsSince(began) < seconds; ++run)
            for (std::size_t i = 0; i < sides.size(); ++i)
                measured[i].measure(sides[i]);
    }
    std::vector<double> first;
    for (std::size_t i = 0; i < sides.size(); ++i) {
        const double run = quantile(measured[i].runs, 0.5);
        const std::vector<double> values{quantile(measured[i].times, 0.5),
                                         quantile(measured[i].times, 0.99),
                                         measured[i].processorOfACall(), run};
        const std::string name = sides[i].name + '_';
        state.counters[name + "median_us"] = values[0];
        state.counters[name + "p99_us"] = values[1];
        state.counters[name + "cpu_us"] = values[2];
        state.counters[name + "per_s"] = 1e6 / run;
        if (bytes != 0) {
            state.counters[name + "MB/s"] = static_cast<double>(bytes) / run;
            state.counters[name + "cpu_us/MB"] = 1e6 * values[2] / static_cast<double>(bytes);
        }
        if (i == 0)
            first = values;
        if (i != 1)
            continue;
        state.counters["ratio_median"] = first[0] / values[0];
        state.counters["ratio_p99"] = first[1] / values[1];
        state.counters["ratio_cpu"] = first[2] / values[2];
        state.counters["ratio_run"] = first[3] / values[3];
    }
}

void sideBySide(benchmark::internal::Benchmark* made)
{
    made->UseRealTime()->Iterations(1)->Unit(benchmark::kMillisecond);
}

} // namespace zel::bench
