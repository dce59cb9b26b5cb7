#include "library_session.h"
#include "side_by_side.h"

#include <vector>

#include <benchmark/benchmark.h>

namespace {

using namespace zel::bench;

/// An answer of 64 MiB in segments.
void LongAnswerBesideBare(benchmark::State& state, Placement placement)
{
    const Placed placed{placement};
    const LibrarySession library{1};
    BareSocket bare;
    const std::string request =
        requestTelegram(1, 1, "<View>1</View><CurrChoicesOnly>0</CurrChoicesOnly>");
    std::vector<char> buffer(kLongAnswer);
    compare(state,
            {{"library", oneByOne(1,
                                  [&] {
                                      std::uint64_t length = 0;
                                      require(ZEL_XPAR_ReadXML(library.module(0), 1, 0,
                                                               buffer.data(), &length,
                                                               buffer.size()));
                                  })},
             {"bare", oneByOne(1, [&] { bare.exchange(request, kLongAnswer, buffer.data()); })}},
            kLongAnswer, 2);
}
BENCHMARK_CAPTURE(LongAnswerBesideBare, unpinned, Placement::unpinned)->Apply(sideBySide);
BENCHMARK_CAPTURE(LongAnswerBesideBare, apart, Placement::apart)->Apply(sideBySide);

} // namespace
