#include "host_configuration.h"

namespace zel::network {

int isFirewireAdapter(std::uint32_t)
{
    return -1;
}

int setStaticAddress(std::uint32_t, const std::string&, const std::string&)
{
    return -1;
}

int switchToDhcp(std::uint32_t)
{
    return -1;
}

} // namespace zel::network
