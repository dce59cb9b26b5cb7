#include "side_by_side.h"
#include "ZEL_VR_Framework.hpp"

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

/// Reads every value of a block of so many records of so many values, in a way of reading; counts
/// the time for one value.
template <class Walk>
void walkBlock(benchmark::State& state, Walk&& walk)
{
    const auto records = static_cast<std::uint32_t>(state.range(0));
    const auto count = static_cast<std::uint32_t>(state.range(1));
    std::vector<unsigned char> bytes;
    for (std::uint32_t i = 0; i < records; ++i)
        appendRecord(bytes, ZEL_DAQ_REAL32, 1, count);
    const zel::Block block{std::as_bytes(std::span(bytes))};
    std::uint64_t values = 0;
    for (auto _ : state)
        values += walk(block);
    if (values != static_cast<std::uint64_t>(state.iterations()) * records * count)
        state.SkipWithError("not every value was read");
    state.counters["per_value"] = benchmark::Counter(
        static_cast<double>(values), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void WalkBlockAsARange(benchmark::State& state)
{
    walkBlock(state, [](const zel::Block& block) {
        std::uint64_t values = 0;
        for (const zel::Record& record : block) {
            const auto read = record.values<float>();
            benchmark::DoNotOptimize(read.data());
            values += read.size();
        }
        return values;
    });
}

void WalkBlockAsARangeToDoubleWithTimes(benchmark::State& state)
{
    walkBlock(state, [](const zel::Block& block) {
        std::uint64_t values = 0;
        for (const zel::Record& record : block) {
            const auto read = record.values<double>();
            benchmark::DoNotOptimize(read.data());
            benchmark::DoNotOptimize(record.times().data());
            values += read.size();
        }
        return values;
    });
}

void WalkBlockByIndex(benchmark::State& state)
{
    std::vector<float> read(65536);
    walkBlock(state, [&](const zel::Block& whole) {
        const auto block = whole.bytes();
        ZEL_DaqHeader header{};
        std::uint64_t offset = 0;
        std::uint64_t values = 0;
        for (std::uint32_t i = 0; ZEL_XUTIL_GetDaqHeader(ZEL_DAQ_BY_INDEX, i, block.data(),
                                                         block.size(), &header, &offset) == ZEL_OK;
             ++i) {
            ZEL_XUTIL_GetDaqData(offset, block.data(), &header, read.data(),
                                 read.size() * sizeof(float));
            benchmark::DoNotOptimize(read.data());
            values += header.count;
        }
        return values;
    });
}

void records(benchmark::internal::Benchmark* made)
{
    made->ArgNames({"records", "values"})->Args({5000, 10})->Args({50, 1000})->Args({1, 60000});
}
BENCHMARK(WalkBlockAsARange)->Apply(records);
BENCHMARK(WalkBlockAsARangeToDoubleWithTimes)->Apply(records);
BENCHMARK(WalkBlockByIndex)->Apply(records);

} // namespace
