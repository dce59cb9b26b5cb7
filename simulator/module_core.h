#pragma once

#include "call_log.h"
#include "module_fault.h"
#include "module_model.h"
#include "module_settings.h"

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <set>

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>

namespace zel::simulator {

class ModuleConnection;

struct ModuleStatistics {
    std::size_t connections = 0;  ///< accepted so far
    std::size_t badTelegrams = 0; ///< what a host sent outside the protocol
    std::size_t misaddressed = 0; ///< transactions to another node
};

/// The working parts of one module: listens, holds the connections, hands requests to scripted
/// handlers and services. Functions without a note run on the simulator's thread only.
class ModuleCore {
public:
    ModuleCore(asio::io_context& context, ModuleSettings settings);
    ~ModuleCore();

    /// Throws std::system_error when the address cannot be listened on.
    void listen();
    void stopListening();
    void dropConnections();
    void resetConnections();
    /// Goes away and comes back on the same port after `downtime`.
    void restart(milliseconds downtime);
    void stop();
    void resumeReading();
    void resumeReadingAfter(milliseconds time);
    bool isListening() const { return m_acceptor.is_open(); }
    std::size_t connectionCount() const { return m_connections.size(); }

    /// `connection` is the number of the connection that the call came by; 0 for a datagram.
    MethodAnswer answer(ReceivedCall call, std::uint64_t connection = 0);
    void forget(ModuleConnection& connection);
    void countBadTelegram() { ++m_badTelegrams; }
    void countMisaddressed() { ++m_misaddressed; }

    // any thread
    /// Fixed once it listens, but for the address of a module that answers scans.
    const ModuleSettings& settings() const { return m_settings; }
    FaultPlan& faults() { return m_faults; }
    CallLog& calls() { return m_calls; }
    ModuleStatistics statistics() const;
    void setHandler(MethodId id, MethodHandler handler);

    ModuleModel& model() { return m_model; }

private:
    void accept();
    void accepted(asio::ip::tcp::socket socket);
    void comeBack();
    void followNetworkSettings(MethodAnswer& answer);
    void moveTo(const std::string& address);
    void retryAfter(milliseconds time, void (ModuleCore::*action)());
    MethodHandler handlerOf(MethodId id);

    asio::io_context& m_context;
    ModuleSettings m_settings;
    FaultPlan m_faults;
    CallLog m_calls;

    // simulator's thread
    asio::ip::tcp::acceptor m_acceptor;
    asio::steady_timer m_timer;
    asio::steady_timer m_resumeTimer;
    unsigned m_generation = 0; // counts the ends of listening: what began before one is void
    std::set<std::shared_ptr<ModuleConnection>> m_connections;
    ModuleModel m_model;

    std::mutex m_handlersMutex;
    std::map<MethodId, MethodHandler> m_handlers; // under m_handlersMutex

    std::atomic<std::size_t> m_accepted{0};
    std::atomic<std::size_t> m_badTelegrams{0};
    std::atomic<std::size_t> m_misaddressed{0};
};

} // namespace zel::simulator
