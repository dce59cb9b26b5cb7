#include "module_address.h"

#include <string_view>

#include "command_failure.h"
#include "number_text.h"

namespace zel::cli {

namespace {

[[noreturn]] void refuse(const std::string& text, const std::string& why)
{
    throw CommandFailure({.problem = "'" + text + "' is no module address: " + why,
                          .advice = "an address is HOST or HOST:PORT, for example 192.168.169.20, "
                                    "amplifier-3:55000 or [fe80::1]:55000"});
}

std::uint16_t parsePort(const std::string& address, std::string_view digits)
{
    const auto port = wholeNumber<std::uint16_t>(digits);
    if (!port || *port == 0) {
        refuse(address, "a port is a number from 1 to 65535");
    }
    return *port;
}

bool isHostCharacter(char c)
{
    return static_cast<unsigned char>(c) > ' ' && c != '/' && c != '[' && c != ']' && c != '\x7f';
}

} // namespace

std::string ModuleAddress::text() const
{
    const bool isIpv6 = host.find(':') != std::string::npos;
    return (isIpv6 ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

ModuleAddress ModuleAddress::parse(const std::string& text)
{
    ModuleAddress address;
    std::string_view rest = text;
    if (rest.starts_with('[')) {
        const auto end = rest.find(']');
        if (end == std::string_view::npos) {
            refuse(text, "the bracket is not closed");
        }
        address.host = rest.substr(1, end - 1);
        rest.remove_prefix(end + 1);
        if (!rest.empty() && !rest.starts_with(':')) {
            refuse(text, "only :PORT can follow the bracket");
        }
    } else {
        const auto colon = rest.find(':');
        if (colon != std::string_view::npos &&
            rest.find(':', colon + 1) != std::string_view::npos) {
            refuse(text, "an IPv6 address stands in brackets");
        }
        address.host = rest.substr(0, colon);
        rest.remove_prefix(address.host.size());
    }
    if (!rest.empty()) {
        address.port = parsePort(text, rest.substr(1));
    }
    if (address.host.empty()) {
        refuse(text, "the host is missing");
    }
    for (const char c : address.host) {
        if (!isHostCharacter(c)) {
            refuse(text, "a host name holds no blanks, slashes or brackets");
        }
    }
    return address;
}

} // namespace zel::cli
