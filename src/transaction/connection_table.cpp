#include "connection_table.h"

#include "own_uuid.h"

#include <algorithm>
#include <exception>

namespace zel {

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

template <class Find>
clConHndlr::Connection clConHndlr::takeOut(Find&& findLocked)
{
    Connection taken;
    {
        const std::lock_guard lock{m_mutex};
        const Table::const_iterator found = findLocked();
        if (found == m_table.end())
            return nullptr;
        taken = found->second;
        m_table.erase(found);
    }
    drop(taken);
    return taken;
}

std::uint64_t clConHndlr::eraseByAddress(const sockaddr* address, std::size_t length)
{
    const std::string peerName = communication::native::nameOf(address, length);
    const Connection taken = takeOut([&] { return connectedToLocked(peerName); });
    return taken ? taken->peer() : kNoUuid;
}

bool clConHndlr::erase(std::uint64_t uuid)
{
    return takeOut([&] { return m_table.find(uuid); }) != nullptr;
}

void clConHndlr::erase(const clTcpTelHndlr& connection)
{
    takeOut([&] {
        const auto found = m_table.find(connection.peer());
        const bool isIt = found != m_table.end() && found->second.get() == &connection;
        return isIt ? found : m_table.end();
    });
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
