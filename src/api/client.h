#pragma once

#include "cl_multicast_server.h"
#include "connection_table.h"
#include "event_loop.h"
#include "service_thread.h"
#include "transaction_handler.h"
#include "udp_connection.h"

namespace zel {

/// The communication core: the event loop with its thread, and what receives on it.
class Client {
public:
    /// Throws std::system_error when no thread can be had, or the host has no descriptors left.
    Client();
    /// Stops and joins the thread before the connections go.
    ~Client();
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    clConHndlr& connections() { return m_connections; }
    clMulticastServer& multicasts() { return m_multicasts; }
    clUDPConnection& broadcasts() { return m_broadcasts; }

private:
    /// Runs the loop. Stops it also when a later member cannot be constructed.
    class LoopThread {
    public:
        explicit LoopThread(sys::EventLoop& loop);
        ~LoopThread();
        LoopThread(const LoopThread&) = delete;
        LoopThread& operator=(const LoopThread&) = delete;

        /// Returns when the loop's thread has ended; called again it does nothing.
        void stop();

    private:
        sys::EventLoop& m_loop;
        sys::ServiceThread m_thread;
    };

    // Constructed in this order, destroyed in the reverse one.
    sys::EventLoop m_loop;
    LoopThread m_loopThread;
    clConHndlr m_connections{m_loop};
    clTransactionHandlerRequestorOnly m_transactions;
    clMulticastServer m_multicasts;
    clUDPConnection m_broadcasts;
};

} // namespace zel
