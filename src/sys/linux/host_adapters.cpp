#include "host_adapters.h"

#include "hardware_address.h"
#include "shortage.h"

#include <algorithm>
#include <memory>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <netinet/in.h>

namespace zel::sys {

namespace {

std::string ipv4Text(const sockaddr* address)
{
    char text[INET_ADDRSTRLEN] = "";
    if (address) {
        const auto* const ipv4 = reinterpret_cast<const sockaddr_in*>(address);
        inet_ntop(AF_INET, &ipv4->sin_addr, text, sizeof text);
    }
    return text;
}

void throwOnShortage()
{
    if (const std::error_code shortage = lastShortage())
        throw std::system_error{shortage};
}

HostAdapter& adapterNamed(std::vector<HostAdapter>& adapters, const std::string& name)
{
    const auto found =
        std::find_if(adapters.begin(), adapters.end(),
                     [&](const HostAdapter& adapter) { return adapter.name == name; });
    if (found != adapters.end())
        return *found;
    HostAdapter& added = adapters.emplace_back();
    added.name = name;
    added.description = name;
    added.interfaceIndex = if_nametoindex(name.c_str());
    if (added.interfaceIndex == 0)
        throwOnShortage();
    return added;
}

void take(const ifaddrs& entry, std::vector<HostAdapter>& adapters)
{
    if ((entry.ifa_flags & IFF_LOOPBACK) || !entry.ifa_addr)
        return;
    // An address of an alias ("eth0:1") belongs to the adapter before the colon.
    const std::string label = entry.ifa_name;
    const std::string name = label.substr(0, label.find(':'));
    if (entry.ifa_addr->sa_family == AF_PACKET) {
        const auto* const link = reinterpret_cast<const sockaddr_ll*>(entry.ifa_addr);
        const std::size_t length = std::min<std::size_t>(link->sll_halen, sizeof link->sll_addr);
        adapterNamed(adapters, name).physicalAddress = hardwareAddressText(link->sll_addr, length);
    } else if (entry.ifa_addr->sa_family == AF_INET) {
        adapterNamed(adapters, name)
            .addresses.push_back({ipv4Text(entry.ifa_addr), ipv4Text(entry.ifa_netmask)});
    }
}

} // namespace

std::vector<HostAdapter> listHostAdapters()
{
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) {
        throwOnShortage();
        return {};
    }
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner{first, &freeifaddrs};
    std::vector<HostAdapter> adapters;
    for (const ifaddrs* entry = first; entry; entry = entry->ifa_next)
        take(*entry, adapters);
    return adapters;
}

} // namespace zel::sys
