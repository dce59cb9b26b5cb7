#pragma once

#include "answer_transfer.h"
#include "datagram_socket.h"

#include <map>
#include <memory>
#include <vector>

#include <asio/io_context.hpp>

namespace zel::simulator {

class ModuleCore;

/// Answers what reaches the modules by broadcast or multicast: scans, and requests to one module
/// whose address does not fit the host's. A module hears only what comes in by the adapter that
/// has its address, and answers by the same way: by broadcast to the host's port or to the group.
/// Simulator's thread only.
class DatagramListener {
public:
    /// Throws std::runtime_error when a port cannot be had.
    explicit DatagramListener(asio::io_context& context);
    ~DatagramListener();
    DatagramListener(const DatagramListener&) = delete;
    DatagramListener& operator=(const DatagramListener&) = delete;

    /// The module must outlive this object.
    void add(ModuleCore& module);

private:
    enum class Way { broadcast, multicast };
    class Outlet;
    struct Route {
        Way way;
        std::uint32_t interfaceIndex;
        std::string from;
    };

    void joinWhereModulesAre();
    void take(const Datagram& datagram, Way way);
    void handle(ModuleCore& module, const Route& route, TransactionKey key,
                std::uint64_t destination, Bytes request);
    void send(Bytes telegram, const Route& route);

    asio::io_context& m_context;
    DatagramSocket m_broadcasts;
    DatagramSocket m_multicasts;
    std::vector<ModuleCore*> m_modules;
    std::map<const AnswerTransfer*, std::shared_ptr<Outlet>> m_underWay;
};

} // namespace zel::simulator
