#pragma once

#include <cstdint>
#include <mutex>
#include <unordered_map>
#include <utility>

namespace zel {

/// What the last failed request to each module left behind. Lives for the whole process; any thread
/// may call any function.
template <class Value>
class LastErrorStore {
public:
    static constexpr std::uint64_t kNoUuid = ~std::uint64_t{0};

    void put(std::uint64_t uuid, Value value)
    {
        // The value that it replaces leaves with the argument, after the lock is released.
        const std::lock_guard lock(m_mutex);
        m_lastUuid = uuid;
        std::swap(m_values[uuid], value);
    }

    /// Calls use(const Value*) under the lock, with null where the module left nothing. What use
    /// keeps of the value is valid until the next put for that module, or clear.
    template <class Use>
    auto read(std::uint64_t uuid, Use&& use) const
    {
        const std::lock_guard lock(m_mutex);
        const auto entry = m_values.find(uuid);
        return std::forward<Use>(use)(entry == m_values.end() ? nullptr : &entry->second);
    }

    /// The same for the module that left something last.
    template <class Use>
    auto readLast(Use&& use) const
    {
        const std::lock_guard lock(m_mutex);
        return read(m_lastUuid, std::forward<Use>(use));
    }

    void clear()
    {
        std::unordered_map<std::uint64_t, Value> old;
        const std::lock_guard lock(m_mutex);
        m_lastUuid = kNoUuid;
        m_values.swap(old);
    }

private:
    mutable std::recursive_mutex m_mutex; // readLast holds it while it reads
    std::uint64_t m_lastUuid = kNoUuid;
    std::unordered_map<std::uint64_t, Value> m_values;
};

} // namespace zel
