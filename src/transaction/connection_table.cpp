#include "connection_table.h"

#include "own_uuid.h"

#include <algorithm>
#include <exception>

namespace zel {

clConHndlr::~clConHndlr()
{
    eraseAll();
}

clConHndlr::Connection clConHndlr::insert(const Connection& connection)
{
    {
        const std::lock_guard lock{m_mutex};
        const auto [place, isNew] = m_table.emplace(connection->peer(), connection);
        if (!isNew)
            return place->second;
    }
    try {
        if (connection->start())
            return connection;
    } catch (const std::exception&) {
        erase(*connection);
        throw;
    }
    erase(*connection);
    return nullptr;
}

clConHndlr::Table::const_iterator clConHndlr::connectedToLocked(const std::string& peerName) const
{
    return std::find_if(m_table.begin(), m_table.end(), [&](const Table::value_type& entry) {
        return !peerName.empty() && entry.second->peerName() == peerName;
    });
}

clConHndlr::Connection clConHndlr::findByAddress(const sockaddr* address, std::size_t length) const
{
    const std::string peerName = communication::native::nameOf(address, length);
    const std::lock_guard lock{m_mutex};
    const auto found = connectedToLocked(peerName);
    return found == m_table.end() ? nullptr : found->second;
}

std::uint64_t clConHndlr::eraseByAddress(const sockaddr* address, std::size_t length)
{
    const std::string peerName = communication::native::nameOf(address, length);
    Connection taken;
    {
        const std::lock_guard lock{m_mutex};
        const auto found = connectedToLocked(peerName);
        if (found == m_table.end())
            return kNoUuid;
        taken = found->second;
        m_table.erase(found);
    }
    drop(taken);
    return taken->peer();
}

bool clConHndlr::erase(std::uint64_t uuid)
{
    Table::node_type taken;
    {
        const std::lock_guard lock{m_mutex};
        taken = m_table.extract(uuid);
    }
    if (taken.empty())
        return false;
    drop(taken.mapped());
    return true;
}

void clConHndlr::erase(const clTcpTelHndlr& connection)
{
    Connection taken;
    {
        const std::lock_guard lock{m_mutex};
        const auto found = m_table.find(connection.peer());
        if (found == m_table.end() || found->second.get() != &connection)
            return;
        taken = std::move(found->second);
        m_table.erase(found);
    }
    drop(taken);
}

void clConHndlr::eraseAll()
{
    Table taken;
    {
        const std::lock_guard lock{m_mutex};
        taken.swap(m_table);
    }
    for (const auto& [uuid, connection] : taken)
        drop(connection);
}

void clConHndlr::drop(const Connection& connection)
{
    // Closed first: a request that is just being sent on it then fails by itself if it comes too
    // late to be found among those that wait.
    connection->close();
    requestorRegistry().connectionLost(connection->connectionId());
}

std::vector<std::uint64_t> clConHndlr::uuids() const
{
    const std::lock_guard lock{m_mutex};
    std::vector<std::uint64_t> uuids;
    uuids.reserve(m_table.size());
    for (const auto& [uuid, connection] : m_table)
        uuids.push_back(uuid);
    return uuids;
}

std::shared_ptr<clTcpTelHndlr> clConHndlr::connectionTo(std::uint64_t uuid) const
{
    const std::lock_guard lock{m_mutex};
    const auto found = m_table.find(uuid);
    return found == m_table.end() ? nullptr : found->second;
}

std::shared_ptr<clRequestorBase> clConHndlr::createRequestor(std::uint64_t target)
{
    return std::make_shared<clRequestorTrans>(target, m_loop, connectionTo(target));
}

} // namespace zel
