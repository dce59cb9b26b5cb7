#pragma once

#include "byte_cursor.h"

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace zel {

/// What a module says of itself in the answer to a scan.
struct ModuleRecord {
    std::string address; // IPv4, with its mask
    std::string mask;
    std::uint32_t port = 0;
    std::string name;
    std::uint64_t uuid = 0;
    std::string type;
    std::string firmwareVersion;
};

/// The record in the answer's document; nothing where it cannot be read or names no module.
std::optional<ModuleRecord> readModuleRecord(Bytes document);

/// The modules that answered the latest scans, by the index of the adapter that heard them and by
/// their UUIDs. Its lock is a leaf.
class clPhonebook {
public:
    // Strangers cannot fill the memory: what goes beyond is dropped.
    static constexpr std::size_t kMostModules = 10000; // of one adapter
    static constexpr std::size_t kLongestText = 255;   // in bytes

    void enter(std::uint32_t interfaceIndex, ModuleRecord record);
    /// One adapter's modules, or all of them.
    void clear(std::optional<std::uint32_t> interfaceIndex);
    /// Calls for one adapter's modules or for all of them, in the order of the table. Under the
    /// lock.
    void list(std::optional<std::uint32_t> interfaceIndex,
              const std::function<void(const ModuleRecord&)>& take) const;

private:
    using Modules = std::map<std::uint64_t, ModuleRecord>;

    mutable std::mutex m_mutex;
    std::map<std::uint32_t, Modules> m_adapters; // under m_mutex
};

} // namespace zel
