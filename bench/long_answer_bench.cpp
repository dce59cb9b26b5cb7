#include "library_session.h"
#include "processors.h"
#include "stopwatch.h"

#include <algorithm>
#include <vector>

#include <benchmark/benchmark.h>

namespace {

using namespace zel::bench;

void receiveStream(BareSocket& bare, std::vector<char>& buffer, bool isAcknowledged)
{
    const std::string telegram = streamTelegram(isAcknowledged);
    bare.send(telegram);
    std::size_t received = 0;
    while (received < FixedAnswerModule::kLongAnswer) {
        const std::size_t size = std::min(kSegmentSize, FixedAnswerModule::kLongAnswer - received);
        bare.receive(buffer.data() + received, size);
        received += size;
        if (isAcknowledged)
            bare.send(telegram);
    }
}

/// An answer of 64 MiB in segments, beside a bare stream of as many bytes in the same chunks: with
/// an acknowledge for each chunk, as the protocol has it, and without.
void LongAnswerBesideBare(benchmark::State& state)
{
    const ApartFromModules apart;
    LibrarySession library{1};
    BareSocket bare;
    std::vector<char> buffer(FixedAnswerModule::kLongAnswer + 1);
    double ours = 0;
    double acknowledged = 0;
    double plain = 0;
    for (auto _ : state) {
        auto began = Clock::now();
        std::uint64_t length = 0;
        if (ZEL_XPAR_ReadXML(library.module(0), 1, 0, buffer.data(), &length, buffer.size()) !=
            ZEL_OK)
            throw std::runtime_error("the long answer failed");
        ours += secondsSince(began);
        began = Clock::now();
        receiveStream(bare, buffer, true);
        acknowledged += secondsSince(began);
        began = Clock::now();
        receiveStream(bare, buffer, false);
        plain += secondsSince(began);
    }
    const double mebibytes =
        static_cast<double>(state.iterations()) * (FixedAnswerModule::kLongAnswer >> 20);
    state.counters["library_MiB/s"] = mebibytes / ours;
    state.counters["bare_acknowledged_MiB/s"] = mebibytes / acknowledged;
    state.counters["bare_MiB/s"] = mebibytes / plain;
    state.counters["share_of_acknowledged"] = acknowledged / ours;
    state.counters["share_of_bare"] = plain / ours;
}
BENCHMARK(LongAnswerBesideBare)->UseRealTime()->Iterations(5)->Unit(benchmark::kMillisecond);

} // namespace
