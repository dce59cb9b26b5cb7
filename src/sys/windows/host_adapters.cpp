#include "host_adapters.h"

#include "hardware_address.h"
#include "shortage.h"

#include <algorithm>
#include <cstddef>

#include <winsock2.h>
#include <iphlpapi.h>

namespace zel::sys {

namespace {

HostAdapter recordOf(const IP_ADAPTER_INFO& info)
{
    HostAdapter adapter;
    adapter.name = info.AdapterName;
    adapter.description = info.Description;
    adapter.interfaceIndex = info.Index;
    adapter.physicalAddress = hardwareAddressText(
        info.Address, std::min<std::size_t>(info.AddressLength, sizeof info.Address));
    for (const IP_ADDR_STRING* pair = &info.IpAddressList; pair; pair = pair->Next) {
        const std::string address = pair->IpAddress.String;
        // The system's way to say that there is no address.
        if (address != "0.0.0.0")
            adapter.addresses.push_back({address, pair->IpMask.String});
    }
    return adapter;
}

} // namespace

std::vector<HostAdapter> listHostAdapters()
{
    std::vector<std::max_align_t> memory;
    ULONG size = 0;
    ULONG result = GetAdaptersInfo(nullptr, &size);
    // Adapters may come between the two calls: ask again as long as the list grows.
    for (int attempt = 0; result == ERROR_BUFFER_OVERFLOW && attempt < 4; ++attempt) {
        memory.resize(size / sizeof(std::max_align_t) + 1);
        result = GetAdaptersInfo(reinterpret_cast<IP_ADAPTER_INFO*>(memory.data()), &size);
    }
    SetLastError(result);
    if (const std::error_code shortage = lastShortage())
        throw std::system_error{shortage};
    std::vector<HostAdapter> adapters;
    if (result != ERROR_SUCCESS || memory.empty())
        return adapters;
    const auto* info = reinterpret_cast<const IP_ADAPTER_INFO*>(memory.data());
    for (; info; info = info->Next)
        adapters.push_back(recordOf(*info));
    return adapters;
}

} // namespace zel::sys
