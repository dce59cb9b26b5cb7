#pragma once

#include <cstddef>
#include <string>
#include <vector>

struct sockaddr;

namespace zel::communication {

/// The stream addresses that a host name and a port stand for, in the resolver's order.
class AddressList {
public:
    /// Asks the system's resolver and blocks as long as it does. Empty when it knows nothing.
    AddressList(const std::string& host, const std::string& port);

    struct Entry {
        int family = 0;
        std::vector<std::byte> bytes; // the system's sockaddr

        const sockaddr* address() const { return reinterpret_cast<const sockaddr*>(bytes.data()); }
        std::size_t length() const { return bytes.size(); }
    };

    bool isEmpty() const { return m_entries.empty(); }
    const Entry& first() const { return m_entries.front(); }
    const std::vector<Entry>& entries() const { return m_entries; }

private:
    std::vector<Entry> m_entries;
};

} // namespace zel::communication
