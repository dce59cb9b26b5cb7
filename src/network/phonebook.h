#pragma once

#include "byte_cursor.h"
#include "mutex.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
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

    /// A scan of one adapter or of all, from when it asks until its modules are listed. When it
    /// begins, the table forgets what was known there, but not what another scan under way found.
    class Scan {
    public:
        Scan(std::shared_ptr<clPhonebook> phonebook, std::optional<std::uint32_t> interfaceIndex);
        ~Scan();
        Scan(const Scan&) = delete;
        Scan& operator=(const Scan&) = delete;

        const std::shared_ptr<clPhonebook>& phonebook() const { return m_phonebook; }
        /// Calls for each module that was heard since the scan began, in the order of the table.
        /// Under the lock.
        void list(const std::function<void(const ModuleRecord&)>& take) const;

    private:
        const std::shared_ptr<clPhonebook> m_phonebook;
        const std::optional<std::uint32_t> m_interfaceIndex;
        std::uint64_t m_number;
    };

    void enter(std::uint32_t interfaceIndex, ModuleRecord record);

private:
    struct Module {
        ModuleRecord record;
        std::uint64_t latestScan; // that had begun when it was heard
    };

    // under m_mutex
    mutable Mutex m_mutex;
    std::map<std::uint32_t, std::map<std::uint64_t, Module>> m_adapters;
    std::uint64_t m_latestScan = 0;
    std::set<std::uint64_t> m_scans; // under way
};

} // namespace zel
