#pragma once

#include "call_log.h"
#include "method_call.h"
#include "module_core.h"
#include "module_fault.h"
#include "module_settings.h"
#include "on_loop.h"

#include <cstdint>
#include <string>
#include <vector>

#include <asio/io_context.hpp>

namespace zel::simulator {

/// One simulated module, as tests and zel-sim hold it. Every function may be called from any
/// thread; those that change the network side return when the change is done.
class Module {
public:
    Module(asio::io_context& context, ModuleSettings settings);
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    std::uint64_t uuid() const { return m_core.settings().uuid; }
    std::string address() const
    {
        return onLoop(m_context, [this] { return m_core.settings().address; });
    }
    std::uint16_t port() const { return m_core.settings().port; }
    const ModuleSettings& settings() const { return m_core.settings(); }

    /// Answers a method by script instead of by its service; runs on the simulator's thread. An
    /// empty handler gives the method back to its service.
    void setHandler(std::uint16_t service, std::uint16_t method, MethodHandler handler);

    void setFault(const Fault& fault);
    void clearFaults();

    std::vector<ReceivedCall> received() const { return m_core.calls().all(); }
    /// Those of one method only, oldest first.
    std::vector<ReceivedCall> received(std::uint16_t service, std::uint16_t method) const;
    void clearReceived() { m_core.calls().clear(); }
    /// Waits until so many requests have come in since the start or the last clearReceived().
    bool waitForCalls(std::size_t count, milliseconds time) const;

    ParameterModel& parameters() { return m_core.model().parameters; }
    /// Looks at, or changes, what the services share: `use(ModuleModel&)` runs on the simulator's
    /// thread, and what it returns is returned here.
    template <class Use>
    auto inspect(Use use)
    {
        return onLoop(m_context, [this, &use] { return use(m_core.model()); });
    }

    ModuleStatistics statistics() const { return m_core.statistics(); }

    void dropConnections();
    void resetConnections();
    /// Connections that are open stay open.
    void stopListening();
    void startListening();
    /// Drops all connections, and listens again on the same port after `downtime`.
    void restart(milliseconds downtime);
    std::size_t connectionCount() const;
    bool waitForConnections(std::size_t count, milliseconds time) const;

private:
    friend class Simulator;

    asio::io_context& m_context;
    mutable ModuleCore m_core;
};

} // namespace zel::simulator
