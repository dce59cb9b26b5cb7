#pragma once

#include <cstdint>
#include <mutex>
#include <unordered_map>

#include <pugixml.hpp>

namespace zel {

/// A subscription between its opening and its end.
struct SubscriptionEntry {
    pugi::xml_document document; // under construction; empty once it has been sent
    std::uint32_t signalCount = 0;
};

/// The open subscriptions by module UUID.
class SubscriptionTable {
public:
    SubscriptionTable() : m_entries(8) { m_entries.max_load_factor(1.0F); }

    /// Takes the lock. Unknown modules are ignored.
    void erase(std::uint64_t uuid)
    {
        const std::lock_guard lock(m_mutex);
        m_entries.erase(uuid);
    }

private:
    // any thread, under m_mutex
    std::unordered_map<std::uint64_t, SubscriptionEntry> m_entries;
    std::mutex m_mutex;
};

} // namespace zel
