#include "library_session.h"
#include "side_by_side.h"

#include <filesystem>
#include <fstream>

#include <benchmark/benchmark.h>
#include <unistd.h>

namespace {

using namespace zel::bench;

/// A file of 64 MiB to a module, by the same road as firmware images.
void FileBesideBare(benchmark::State& state)
{
    const std::string file =
        (std::filesystem::temp_directory_path() / ("zel-bench-" + std::to_string(getpid())))
            .string();
    std::ofstream{file, std::ios::binary} << std::string(kLongAnswer, 'x');
    const Placed placed{Placement::apart};
    const LibrarySession library{1};
    BareSocket bare;
    compare(state,
            {{"library", oneByOne(1,
                                  [&] {
                                      require(ZEL_XSYS_WriteFile(library.module(0), file.c_str(),
                                                                 "", "bench"));
                                  })},
             {"bare", oneByOne(1,
                               [&] {
                                   std::ifstream in{file, std::ios::binary};
                                   bare.writeFile(kLongAnswer, [&](char* data, std::size_t size) {
                                       in.read(data, static_cast<std::streamsize>(size));
                                   });
                               })}},
            kLongAnswer, 2);
    std::filesystem::remove(file);
}
BENCHMARK(FileBesideBare)->Apply(sideBySide);

} // namespace
