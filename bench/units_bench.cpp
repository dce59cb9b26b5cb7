// Looking units up, beside a search of the table from its start.

#include "zel/units.hpp"
#include "ZEL_VR_Framework.h"

#include <algorithm>

#include <benchmark/benchmark.h>

namespace zel {
namespace {

const char* nextName(std::size_t& at)
{
    at = (at + 61) % units().size();
    return units()[at].name;
}

void BM_UnitByName(benchmark::State& state)
{
    std::size_t at = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(ZEL_XUTIL_GetUnitCodeFromName(nextName(at)));
}
BENCHMARK(BM_UnitByName);

void BM_UnitByNameSearched(benchmark::State& state)
{
    std::size_t at = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(
            std::ranges::find(units(), std::string_view{nextName(at)}, &Unit::name));
}
BENCHMARK(BM_UnitByNameSearched);

void BM_UnitByCode(benchmark::State& state)
{
    std::size_t at = 0;
    for (auto _ : state) {
        at = (at + 61) % units().size();
        benchmark::DoNotOptimize(ZEL_XUTIL_GetUnitNameFromCode(units()[at].code));
    }
}
BENCHMARK(BM_UnitByCode);

} // namespace
} // namespace zel
