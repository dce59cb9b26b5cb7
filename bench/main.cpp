#include "fixed_answer_module.h"
#include "measuring_module.h"

#include <benchmark/benchmark.h>
#include <sys/resource.h>

int main(int argc, char** argv)
{
    // A thousand connections are more than the usual limit of open files allows.
    rlimit files{};
    getrlimit(RLIMIT_NOFILE, &files);
    files.rlim_cur = files.rlim_max;
    setrlimit(RLIMIT_NOFILE, &files);
    zel::bench::module();
    zel::bench::measuringModule();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
