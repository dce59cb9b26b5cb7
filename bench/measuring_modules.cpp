#include "measuring_modules.h"

#include "simulator.h"

#include <thread>
#include <vector>

namespace zel::bench {

std::string measuringHost(std::size_t i)
{
    return "127.1." + std::to_string(i / 250) + "." + std::to_string(i % 250 + 1);
}

std::uint16_t startMeasuringModules(std::size_t count)
{
    // A simulator serves its modules on one thread.
    auto* const simulators =
        new std::vector<simulator::Simulator>(std::max(1U, std::thread::hardware_concurrency()));
    simulator::ModuleSettings settings;
    settings.keptCalls = 1;
    for (std::size_t i = 0; i < count; ++i) {
        settings.address = measuringHost(i);
        simulator::Module& made = simulators->at(i % simulators->size()).addModule(settings);
        settings.port = made.port();
        ++settings.uuid;
    }
    return settings.port;
}

} // namespace zel::bench
