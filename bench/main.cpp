#include "fixed_answer_module.h"
#include "other_protocols.h"

#include <cstdio>

#include <benchmark/benchmark.h>
#include <sys/resource.h>

int main(int argc, char** argv)
{
    // A thousand connections are more than the usual limit of open files allows.
    rlimit files{};
    getrlimit(RLIMIT_NOFILE, &files);
    files.rlim_cur = files.rlim_max;
    setrlimit(RLIMIT_NOFILE, &files);
    // Every peer is there before a benchmark starts a thread.
    zel::bench::module();
    for (auto& other : zel::bench::otherProtocols())
        other.peer = std::make_unique<zel::bench::PeerProcess>(other.serve);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
#ifdef ZEL_BENCH_WITHOUT_MODBUS
    std::fputs("Without libmodbus: " ZEL_BENCH_WITHOUT_MODBUS " is not installed\n", stderr);
#endif
#ifdef ZEL_BENCH_WITHOUT_ZEROMQ
    std::fputs("Without ZeroMQ: " ZEL_BENCH_WITHOUT_ZEROMQ " is not installed\n", stderr);
#endif
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
