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
        m_datagrams.reset();
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
    const bool answersScans = settings.answersScans;
    if (answersScans)
        onLoop(m_context, [this] {
            if (!m_datagrams)
                m_datagrams = std::make_unique<DatagramListener>(m_context);
        });
    Module& module = m_modules.emplace_back(m_context, std::move(settings));
    if (answersScans)
        onLoop(m_context, [&] { m_datagrams->add(module.m_core); });
    return module;
}

} // namespace zel::simulator
