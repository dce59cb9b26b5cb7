#include "library_session.h"
#include "response_document.h"
#include "xml_escape.h"

#include <vector>

#include <benchmark/benchmark.h>

namespace {

using namespace zel::bench;

/// One call that reads a document; the time for each byte must not grow with its size.
void ReadDocument(benchmark::State& state)
{
    LibrarySession library{1};
    const auto size = static_cast<std::uint32_t>(state.range(0));
    std::vector<char> buffer(size + 1);
    for (auto _ : state) {
        std::uint64_t length = 0;
        if (ZEL_XPAR_ReadXSD(library.module(0), size, buffer.data(), &length, buffer.size()) !=
                ZEL_OK ||
            length != size)
            throw std::runtime_error("the document did not come whole");
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(ReadDocument)->RangeMultiplier(8)->Range(1 << 10, 8 << 20)->UseRealTime();

/// A document that is sent: composed, escaped and taken by the module.
void WriteDocument(benchmark::State& state)
{
    LibrarySession library{1};
    const std::string document(static_cast<std::size_t>(state.range(0)), 'x');
    for (auto _ : state)
        if (ZEL_XPAR_WriteXML(library.module(0), 1, document.data(), document.size()) != ZEL_OK)
            throw std::runtime_error("the document was not taken");
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(WriteDocument)->RangeMultiplier(8)->Range(128 << 10, 8 << 20)->UseRealTime();

void Escape(benchmark::State& state, const std::string& sample)
{
    std::string text;
    while (text.size() < static_cast<std::size_t>(state.range(0)))
        text += sample;
    for (auto _ : state) {
        std::string out;
        zel::appendXmlEscaped(out, text);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK_CAPTURE(Escape, text_without_markup, std::string{"Amplifier Connector 1 "})
    ->RangeMultiplier(8)
    ->Range(1 << 10, 8 << 20);
BENCHMARK_CAPTURE(Escape, dense_markup, std::string{"<Name a=\"1\">&</Name>"})
    ->RangeMultiplier(8)
    ->Range(1 << 10, 8 << 20);

void Parse(benchmark::State& state)
{
    std::string text = "<SrvParams>";
    while (text.size() < static_cast<std::size_t>(state.range(0)))
        text += R"(<Error ErrLevel="2" ErrCode="-1014060" Text="Overload"/>)";
    text += "</SrvParams>";
    for (auto _ : state) {
        zel::clResponseDocument document;
        benchmark::DoNotOptimize(document.parse(zel::asBytes(text.data(), text.size())));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(Parse)->RangeMultiplier(8)->Range(1 << 10, 8 << 20);

} // namespace
