#pragma once

#include "datagram_listener.h"
#include "simulated_module.h"

#include <list>
#include <memory>
#include <mutex>
#include <thread>

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>

namespace zel::simulator {

/// Simulated modules on real sockets, all served by one thread.
class Simulator {
public:
    Simulator();
    /// Closes every socket and joins the thread; handlers do not run any more when it returns.
    ~Simulator();
    Simulator(const Simulator&) = delete;
    Simulator& operator=(const Simulator&) = delete;

    /// Adds a module that listens when this returns; it lives as long as the simulator. Throws
    /// std::system_error when its address cannot be listened on, std::runtime_error when the ports
    /// of the scans cannot be had.
    Module& addModule(ModuleSettings settings = {});

private:
    asio::io_context m_context{1};
    asio::executor_work_guard<asio::io_context::executor_type> m_work;
    std::mutex m_mutex;
    std::list<Module> m_modules;                   // under m_mutex; a module never moves
    std::unique_ptr<DatagramListener> m_datagrams; // simulator's thread
    std::thread m_thread;
};

} // namespace zel::simulator
