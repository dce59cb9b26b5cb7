#include "library_session.h"
#include "side_by_side.h"

#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace {

using namespace zel::bench;

/// Blocks of `range(0)` KiB, fetched one after the other.
void StreamingBesideBare(benchmark::State& state, Placement placement)
{
    const auto size = static_cast<std::size_t>(state.range(0)) << 10;
    std::vector<char> block(size + kResponseHeaderSize);
    const Placed placed{placement};
    const LibrarySession library{1};
    const std::uint64_t uuid = library.module(0);
    require(ZEL_XDAQ_OpenSubscription(uuid));
    require(ZEL_XDAQ_AddSignal(uuid, "AnalogIn_Connector0.Signal0", 1, 2'000'000));
    require(ZEL_XDAQ_FinishSubscription(uuid, 0));
    BareSocket bare;
    const std::string request =
        requestTelegram(5, 1, "<MaxSize>" + std::to_string(size) + "</MaxSize>");
    const int run = static_cast<int>((std::size_t{8} << 20) / size);
    compare(state,
            {{"library", oneByOne(run,
                                  [&] {
                                      std::uint64_t length = 0;
                                      require(ZEL_XDAQ_GetMeasValBlock(uuid, block.data(), &length,
                                                                       size));
                                  })},
             {"bare", oneByOne(run, [&] { bare.exchange(request, block.size(), block.data()); })}},
            size);
    ZEL_XDAQ_ClearSubscription(uuid);
}
void sizes(benchmark::internal::Benchmark* made)
{
    made->ArgName("KiB")->Arg(59)->Arg(256)->Arg(1024)->Arg(4096)->Apply(sideBySide);
}
BENCHMARK_CAPTURE(StreamingBesideBare, unpinned, Placement::unpinned)->Apply(sizes);
BENCHMARK_CAPTURE(StreamingBesideBare, apart, Placement::apart)->Apply(sizes);

} // namespace
