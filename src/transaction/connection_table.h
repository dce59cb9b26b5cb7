#pragma once

#include "mutex.h"
#include "requestor_context.h"
#include "requestor_trans.h"
#include "tcp_telegram_handler.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace zel {

/// The connections to modules, by the modules' UUIDs.
///
/// Its lock guards the map alone. Connections are started and closed outside of it, because both
/// call into the event loop; each connection has a send lock of its own, so that a module which
/// takes nothing holds up nobody else.
class clConHndlr final : public iRequestorContext {
public:
    explicit clConHndlr(sys::EventLoop& loop) : m_loop(loop) {}
    /// Closes every connection and ends what waits on them.
    ~clConHndlr() override { eraseAll(); }

    /// Where the connections report; once, before the first connection.
    void setTransactionHandler(iTransactionHandler& handler) { m_transactions = &handler; }
    iTransactionHandler& transactions() const { return *m_transactions; }

    using Connection = std::shared_ptr<clTcpTelHndlr>;

    /// Adds the connection and starts its reception. Gives back the module's connection: this one,
    /// or the one that it had already, which stays; null when this one cannot be watched.
    Connection insert(const Connection& connection);
    /// That of the first module, in the order of UUIDs, that is connected to this peer address;
    /// else null.
    Connection findByAddress(const sockaddr* address, std::size_t length) const;
    std::uint64_t eraseByAddress(const sockaddr* address, std::size_t length);
    bool erase(std::uint64_t uuid);
    /// Takes out this very connection, not another one of the same module.
    void erase(const clTcpTelHndlr& connection);
    void eraseAll();

    std::vector<std::uint64_t> uuids() const;

    sys::EventLoop& loop() const { return m_loop; }
    std::shared_ptr<clRequestorBase> createRequestor(std::uint64_t target) override;

private:
    using Table = std::map<std::uint64_t, Connection>;

    Table::const_iterator connectedToLocked(const std::string& peerName) const;
    /// Takes the connection that `findLocked` finds out of the table and closes it; null when it
    /// finds none.
    template <class Find>
    Connection takeOut(Find&& findLocked);
    static void drop(const Connection& connection);
    /// Null when the module is not connected.
    Connection connectionTo(std::uint64_t uuid) const;

    sys::EventLoop& m_loop;

    // fixed before the first connection
    iTransactionHandler* m_transactions = nullptr;

    // under m_mutex
    mutable Mutex m_mutex;
    Table m_table;
};

} // namespace zel
