#include "library_session.h"
#include "processors.h"
#include "stopwatch.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

#include <benchmark/benchmark.h>
#include <unistd.h>

namespace {

using namespace zel::bench;

void sendBare(BareSocket& bare, const std::string& chunk)
{
    char acknowledge[4];
    bare.send(uploadTelegram());
    for (std::size_t sent = 0; sent < FixedAnswerModule::kLongAnswer; sent += chunk.size()) {
        bare.send(chunk.substr(0, std::min(chunk.size(), FixedAnswerModule::kLongAnswer - sent)));
        bare.receive(acknowledge, sizeof acknowledge);
    }
}

/// A file of 64 MiB to a module, by the same road as firmware images, beside a bare stream of as
/// many bytes in the same chunks with an acknowledge for each.
void FileBesideBare(benchmark::State& state)
{
    const std::string file =
        (std::filesystem::temp_directory_path() / ("zel-bench-" + std::to_string(getpid())))
            .string();
    std::ofstream{file, std::ios::binary} << std::string(FixedAnswerModule::kLongAnswer, 'x');
    const ApartFromModules apart;
    LibrarySession library{1};
    BareSocket bare;
    const std::string chunk(kSegmentSize, 'x');
    double ours = 0;
    double theirs = 0;
    for (auto _ : state) {
        auto began = Clock::now();
        if (ZEL_XSYS_WriteFile(library.module(0), file.c_str(), "", "bench") != ZEL_OK)
            throw std::runtime_error("the file was not taken");
        ours += secondsSince(began);
        began = Clock::now();
        sendBare(bare, chunk);
        theirs += secondsSince(began);
    }
    std::filesystem::remove(file);
    const double mebibytes =
        static_cast<double>(state.iterations()) * (FixedAnswerModule::kLongAnswer >> 20);
    state.counters["library_MiB/s"] = mebibytes / ours;
    state.counters["bare_acknowledged_MiB/s"] = mebibytes / theirs;
    state.counters["share_of_acknowledged"] = theirs / ours;
}
BENCHMARK(FileBesideBare)->UseRealTime()->Iterations(5)->Unit(benchmark::kMillisecond);

} // namespace
