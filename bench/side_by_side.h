#pragma once

#include "stopwatch.h"

#include <functional>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace zel::bench {

/// One of several ways to do the same work: a run of calls, each of which adds its time in
/// microseconds.
struct Side {
    using Run = std::function<void(std::vector<double>& times)>;

    std::string name;
    Run run;
};

/// So many calls, one after the other.
template <class Call>
Side::Run oneByOne(int count, Call call)
{
    return [count, call](std::vector<double>& times) {
        for (int i = 0; i < count; ++i) {
            const auto began = Clock::now();
            call();
            times.push_back(1e6 * secondsSince(began));
        }
    };
}

/// So many calls from each of so many threads; the call is told which thread makes it.
Side::Run fromThreads(std::size_t threads, int count, std::function<void(std::size_t)> call);

/// Measures the sides by turns, run by run, so that whatever else the machine does hits all of
/// them: for a share of the seconds that ZEL_BENCH_SECONDS sets (2 where it is not set).
///
/// Counted for each side: median and 99th percentile of a call, processor time of this process for
/// a call (which does not count the modules' processes), and calls a second in the median run. The
/// ratios are those of the first side's times to the second's: less than 1 is less than bare.
/// Where a call moves `bytes`, megabytes a second and processor time for each are counted too.
void compare(benchmark::State& state, std::vector<Side> sides, std::size_t bytes = 0,
             double share = 1);

/// How a comparison is registered: it loops by itself.
void sideBySide(benchmark::internal::Benchmark* made);

} // namespace zel::bench
