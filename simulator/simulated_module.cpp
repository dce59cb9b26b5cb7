#include "simulated_module.h"

#include <thread>

namespace zel::simulator {

Module::Module(asio::io_context& context, ModuleSettings settings)
    : m_context(context), m_core(context, std::move(settings))
{
    startListening();
}

void Module::setHandler(std::uint16_t service, std::uint16_t method, MethodHandler handler)
{
    m_core.setHandler({service, method}, std::move(handler));
}

void Module::setFault(const Fault& fault)
{
    m_core.faults().add(fault);
    if (fault.kind == FaultKind::stopReading && fault.lasting > milliseconds{0})
        onLoop(m_context, [&] { m_core.resumeReadingAfter(fault.lasting); });
}

void Module::clearFaults()
{
    m_core.faults().clear();
    onLoop(m_context, [this] { m_core.resumeReading(); });
}

std::vector<ReceivedCall> Module::received(std::uint16_t service, std::uint16_t method) const
{
    std::vector<ReceivedCall> calls = received();
    std::erase_if(calls, [id = MethodId{service, method}](const ReceivedCall& call) {
        return call.id != id;
    });
    return calls;
}

bool Module::waitForCalls(std::size_t count, milliseconds time) const
{
    return m_core.calls().waitFor(count, time);
}

void Module::dropConnections()
{
    onLoop(m_context, [this] { m_core.dropConnections(); });
}

void Module::resetConnections()
{
    onLoop(m_context, [this] { m_core.resetConnections(); });
}

void Module::stopListening()
{
    onLoop(m_context, [this] { m_core.stopListening(); });
}

void Module::startListening()
{
    onLoop(m_context, [this] { m_core.listen(); });
}

void Module::restart(milliseconds downtime)
{
    onLoop(m_context, [&] { m_core.restart(downtime); });
}

std::size_t Module::connectionCount() const
{
    return onLoop(m_context, [this] { return m_core.connectionCount(); });
}

bool Module::waitForConnections(std::size_t count, milliseconds time) const
{
    const auto end = std::chrono::steady_clock::now() + time;
    while (connectionCount() != count) {
        if (std::chrono::steady_clock::now() >= end)
            return false;
        std::this_thread::sleep_for(milliseconds{2});
    }
    return true;
}

} // namespace zel::simulator
