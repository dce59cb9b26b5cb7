#include "side_by_side.h"
#include "ZEL_VR_Framework.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include <benchmark/benchmark.h>

namespace {

using namespace zel::bench;

constexpr std::size_t kHeaderSize = 24;

void putBigEndian(std::vector<unsigned char>& block, std::uint64_t value, unsigned bytes)
{
    while (bytes-- > 0)
        block.push_back(static_cast<unsigned char>(value >> (8 * bytes)));
}

void appendRecord(std::vector<unsigned char>& block, std::uint8_t type, std::uint16_t id,
                  std::uint32_t count)
{
    block.push_back(1);
    block.push_back(type);
    putBigEndian(block, id, 2);
    putBigEndian(block, count, 4);
    putBigEndian(block, 0, 8);
    putBigEndian(block, 1'000'000'000, 8);
    const std::size_t element = (type & 15) == 0 ? 16 : type & 15;
    block.resize(block.size() + element * count, 31);
}

/// Converts a record of so many KiB, beside a memcpy of the same bytes.
void GetDaqDataBesideMemcpy(benchmark::State& state)
{
    const auto type = static_cast<std::uint8_t>(state.range(0));
    const std::size_t element = (type & 15) == 0 ? 16 : type & 15;
    std::vector<unsigned char> block;
    const std::size_t wanted = static_cast<std::size_t>(state.range(1)) << 10;
    appendRecord(block, type, 1, static_cast<std::uint32_t>(wanted / element));
    ZEL_DaqHeader header{};
    std::uint64_t offset = 0;
    ZEL_XUTIL_GetDaqHeader(ZEL_DAQ_BY_INDEX, 0, block.data(), block.size(), &header, &offset);
    const std::size_t size = block.size() - kHeaderSize;
    std::vector<unsigned char> output(size);
    // Small ones are too fast for one look at the clock each.
    const std::size_t repeated = std::max<std::size_t>(1, (std::size_t{1} << 20) / wanted);
    const auto repeat = [repeated](auto work) {
        return oneByOne(repeated > 1 ? 10 : 1, [repeated, work] {
            for (std::size_t i = 0; i < repeated; ++i) {
                work();
                benchmark::ClobberMemory();
            }
        });
    };
    compare(state,
            {{"library", repeat([&] {
                  ZEL_XUTIL_GetDaqData(offset, block.data(), &header, output.data(), size);
              })},
             {"bare", repeat([&] { std::memcpy(output.data(), block.data() + offset, size); })}},
            repeated * size, 0.2);
}
BENCHMARK(GetDaqDataBesideMemcpy)
    ->ArgNames({"type", "KiB"})
    ->ArgsProduct({{20, 24, 36, 40, 80, 96, 224, 92, 108, 236}, {16, 1024, 65536}})
    ->Apply(sideBySide);

/// Looks for the last of a thousand records.
void GetDaqHeaderOfTheLastRecord(benchmark::State& state)
{
    constexpr std::uint16_t kRecords = 1000;
    std::vector<unsigned char> block;
    for (std::uint16_t id = 0; id < kRecords; ++id)
        appendRecord(block, 36, id, 16);
    ZEL_DaqHeader header{};
    std::uint64_t offset = 0;
    for (auto _ : state) {
        ZEL_XUTIL_GetDaqHeader(ZEL_DAQ_BY_SIGNAL, kRecords - 1, block.data(), block.size(), &header,
                               &offset);
        benchmark::DoNotOptimize(offset);
    }
    state.counters["skipped"] = benchmark::Counter(
        kRecords - 1, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(GetDaqHeaderOfTheLastRecord);

} // namespace
