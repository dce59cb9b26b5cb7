#include "measuring_module.h"

#include "simulator.h"

namespace zel::bench {

PeerProcess& measuringModule()
{
    static PeerProcess instance{[] {
        simulator::ModuleSettings settings;
        settings.freeRunning = true;
        // Lives as long as the process.
        auto* const modules = new simulator::Simulator;
        return modules->addModule(settings).port();
    }};
    return instance;
}

} // namespace zel::bench
