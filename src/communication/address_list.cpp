#include "address_list.h"

#include "system_sockets.h"

#include <memory>

namespace zel::communication {

AddressList::AddressList(const std::string& host, const std::string& port)
{
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* first = nullptr;
    if (getaddrinfo(host.c_str(), port.c_str(), &hints, &first) != 0)
        return;
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owner{first, &freeaddrinfo};
    for (const addrinfo* info = first; info; info = info->ai_next) {
        const auto* const bytes = reinterpret_cast<const std::byte*>(info->ai_addr);
        m_entries.push_back({info->ai_family, {bytes, bytes + info->ai_addrlen}});
    }
}

} // namespace zel::communication
