#include "simulator.h"

#include "on_loop.h"

namespace zel::simulator {

Simulator::Simulator()
    : m_work(asio::make_work_guard(m_context)), m_thread([this] { m_context.run(); })
{
}

Simulator::~Simulator()
{
    onLoop(m_context, [this] {
        for (Module& module : m_modules)
            module.m_core.stop();
    });
    m_work.reset();
    m_context.stop();
    m_thread.join();
}

Module& Simulator::addModule(ModuleSettings settings)
{
    const std::lock_guard lock{m_mutex};
    return m_modules.emplace_back(m_context, std::move(settings));
}

} // namespace zel::simulator
