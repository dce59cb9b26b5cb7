#include "measuring_module.h"

#include "processors.h"
#include "simulator.h"

#include <csignal>
#include <stdexcept>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zel::bench {

namespace {

[[noreturn]] void measureForEver(int report)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    runOnModuleProcessor();
    simulator::ModuleSettings settings;
    settings.freeRunning = true;
    simulator::Simulator modules;
    const std::uint16_t port = modules.addModule(settings).port();
    if (write(report, &port, sizeof port) != sizeof port)
        std::_Exit(1);
    for (;;)
        pause();
}

} // namespace

MeasuringModule::MeasuringModule()
{
    int ends[2];
    if (pipe(ends) != 0)
        throw std::runtime_error("no pipe to the measuring module");
    m_process = fork();
    if (m_process == 0)
        measureForEver(ends[1]);
    const bool isUp = read(ends[0], &m_port, sizeof m_port) == sizeof m_port;
    close(ends[0]);
    close(ends[1]);
    if (!isUp)
        throw std::runtime_error("the measuring module does not start");
}

MeasuringModule::~MeasuringModule()
{
    kill(m_process, SIGKILL);
    waitpid(m_process, nullptr, 0);
}

MeasuringModule& measuringModule()
{
    static MeasuringModule instance;
    return instance;
}

} // namespace zel::bench
