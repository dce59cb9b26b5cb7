#include "module_probe.h"

#include "command_failure.h"
#include "interrupt.h"
#include "module_session.h"
#include "number_text.h"
#include "printable.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <future>
#include <numeric>

namespace zel::cli {

namespace {

using Clock = std::chrono::steady_clock;

double millisecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

std::string problemText(const CommandFailure& failure)
{
    const FailureReport& report = failure.report();
    return report.problem +
           (report.code ? ": " + trimmed(report.codeText) + " (" + hexadecimal(*report.code) + ")"
                        : "");
}

ModuleProbe probe(const FoundModule& module)
{
    ModuleProbe result;
    try {
        const auto start = Clock::now();
        const ModuleConnection connection(addressOf(module));
        result.connectMs = millisecondsSince(start);
        if (connection.uuid() != module.uuid) {
            result.problem = "another module, " + hexadecimal(connection.uuid()) +
                             ", has the same address: give one of them another";
            return result;
        }
        const auto connected = Clock::now();
        try {
            connection.module().get("System/Name");
        } catch (const Error& error) {
            result.problem = "could not read System/Name over TCP: " +
                             trimmed(StartedLibrary::textOf(error.code())) + " (" +
                             hexadecimal(error.code()) + ")";
        }
        result.readMs = millisecondsSince(connected);
    } catch (const CommandFailure& failure) {
        result.problem = problemText(failure);
    } catch (const Interrupted&) {
        // The command stops as soon as all are done.
    }
    return result;
}

/// The library has one connection to an address, and one to a module: what shares either takes
/// turns.
std::vector<std::size_t> nextWave(const std::vector<FoundModule>& modules,
                                  std::vector<std::size_t>& waiting)
{
    constexpr std::size_t kAtOnce = 32;
    std::vector<std::size_t> wave;
    std::vector<std::size_t> later;
    for (const std::size_t i : waiting) {
        const bool isBusy = std::ranges::any_of(wave, [&](std::size_t other) {
            return modules[other].uuid == modules[i].uuid ||
                   (modules[other].address == modules[i].address &&
                    modules[other].port == modules[i].port);
        });
        (isBusy || wave.size() == kAtOnce ? later : wave).push_back(i);
    }
    waiting = std::move(later);
    return wave;
}

} // namespace

std::vector<ModuleProbe> probeModules(const std::vector<FoundModule>& modules)
{
    // What answers for thousands of modules must not keep this host busy for hours.
    constexpr int kMostWaves = 12;
    std::vector<ModuleProbe> results(modules.size(), {.problem = "there are too many to try all"});
    std::vector<std::size_t> waiting(modules.size());
    std::iota(waiting.begin(), waiting.end(), std::size_t{0});
    for (int waves = 0; waves < kMostWaves && !waiting.empty(); ++waves) {
        stopIfInterrupted();
        const auto wave = nextWave(modules, waiting);
        std::vector<std::future<ModuleProbe>> running;
        for (const std::size_t i : wave)
            running.push_back(std::async(std::launch::async, probe, std::cref(modules[i])));
        for (std::size_t i = 0; i < wave.size(); ++i)
            results[wave[i]] = running[i].get();
    }
    return results;
}

} // namespace zel::cli
