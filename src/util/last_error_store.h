#pragma once

#include "mutex.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <mutex>
#include <unordered_map>
#include <utility>

namespace zel {

/// What the last failed request to each module left behind. Lives for the whole process; any thread
/// may call any function.
template <class Value>
class clLastErrorStore {
public:
    // Strangers cannot fill the memory: the oldest values go, but never the one just put there.
    static constexpr std::size_t kMostModules = 10000;
    static constexpr std::size_t kMostBytes = std::size_t{64} << 20;

    /// `sizeOf` tells how much memory a value holds.
    explicit clLastErrorStore(std::size_t (*sizeOf)(const Value&)) : m_sizeOf(sizeOf) {}

    void put(std::uint64_t uuid, Value value)
    {
        // What goes leaves with this list, after the lock is released.
        Entries gone;
        gone.push_back({uuid, std::move(value), 0});
        gone.front().size = m_sizeOf(gone.front().value);
        const std::lock_guard lock(m_mutex);
        const auto [place, isNew] = m_places.try_emplace(uuid, gone.begin());
        if (!isNew)
            takeLocked(std::exchange(place->second, gone.begin()), gone);
        m_size += gone.front().size;
        m_entries.splice(m_entries.end(), gone, gone.begin());
        while (m_entries.size() > 1 && (m_entries.size() > kMostModules || m_size > kMostBytes)) {
            m_places.erase(m_entries.front().uuid);
            takeLocked(m_entries.begin(), gone);
        }
    }

    /// Calls use(const Value*) under the lock, with null where the module left nothing, or what it
    /// left had to go. What use keeps of the value is valid until it is replaced or has to go.
    template <class Use>
    auto read(std::uint64_t uuid, Use&& use) const
    {
        const std::lock_guard lock(m_mutex);
        const auto place = m_places.find(uuid);
        return std::forward<Use>(use)(place == m_places.end() ? nullptr : &place->second->value);
    }

    /// The same for the module that left something last.
    template <class Use>
    auto readLast(Use&& use) const
    {
        const std::lock_guard lock(m_mutex);
        return std::forward<Use>(use)(m_entries.empty() ? nullptr : &m_entries.back().value);
    }

    /// Lets go of what the module left, when that alone is more than the store may hold.
    void dropIfHuge(std::uint64_t uuid)
    {
        Entries gone;
        const std::lock_guard lock(m_mutex);
        const auto place = m_places.find(uuid);
        if (place == m_places.end() || place->second->size <= kMostBytes)
            return;
        takeLocked(place->second, gone);
        m_places.erase(place);
    }

    void clear()
    {
        Entries gone;
        Places places; // cleared, it would keep its memory
        const std::lock_guard lock(m_mutex);
        m_places.swap(places);
        m_entries.swap(gone);
        m_size = 0;
    }

private:
    struct Entry {
        std::uint64_t uuid;
        Value value;
        std::size_t size;
    };
    using Entries = std::list<Entry>;
    using Places = std::unordered_map<std::uint64_t, typename Entries::iterator>;

    void takeLocked(typename Entries::iterator entry, Entries& gone)
    {
        m_size -= entry->size;
        gone.splice(gone.end(), m_entries, entry);
    }

    std::size_t (*const m_sizeOf)(const Value&);

    mutable Mutex m_mutex; // guards all below
    Entries m_entries;     // the oldest first
    Places m_places;
    std::size_t m_size = 0;
};

} // namespace zel
