#include "module_address.h"

#include "command_failure.h"
#include "ipv4.h"
#include "number_text.h"

#include <algorithm>
#include <string_view>

namespace zel::cli {

namespace {

[[noreturn]] void refuse(const std::string& text, const std::string& why)
{
    throw CommandFailure({.problem = "'" + text + "' is no module address: " + why,
                          .advice = "an address is HOST or HOST:PORT, for example 192.168.169.20, "
                                    "amplifier-3:55000 or [fe80::1]:55000; 'zel scan' lists "
                                    "modules with addresses and names"});
}

std::uint16_t parsePort(const std::string& address, std::string_view digits)
{
    const auto port = wholeNumber<std::uint16_t>(digits);
    if (!port || *port == 0)
        refuse(address, "a port is a number from 1 to 65535");
    return *port;
}

bool isHostCharacter(char c)
{
    return static_cast<unsigned char>(c) > ' ' && c != '/' && c != '[' && c != ']' && c != '\x7f';
}

bool holdsOnly(std::string_view text, std::string_view characters)
{
    return text.find_first_not_of(characters) == std::string_view::npos;
}

/// What nobody means who names a module, so that a mistyped address need not wait for a scan.
bool isMeantAsAddress(const std::string& text)
{
    const auto colon = text.find(':');
    const bool hasPort =
        colon != std::string::npos && holdsOnly(text.substr(colon + 1), "0123456789");
    const bool isIpv6 = colon != std::string::npos && holdsOnly(text, "0123456789abcdefABCDEF:");
    const bool isIpv4 =
        holdsOnly(text, "0123456789.") && std::count(text.begin(), text.end(), '.') == 3;
    return text.empty() || text.starts_with('[') || hasPort || isIpv6 || isIpv4 ||
           text == "localhost";
}

/// UUIDs among them. Resolvers take any number for an address.
bool isNumber(const std::string& text)
{
    return holdsOnly(text, "0123456789.") || text.starts_with("0x") || text.starts_with("0X");
}

bool isHostName(const std::string& text)
{
    return text.find(':') == std::string::npos &&
           std::all_of(text.begin(), text.end(), isHostCharacter);
}

} // namespace

ModuleTarget ModuleTarget::parse(const std::string& text)
{
    if (isMeantAsAddress(text)) {
        if (holdsOnly(text, "0123456789.") && !ipv4(text) && !text.empty())
            refuse(text, "an IPv4 address has four numbers from 0 to 255");
        return {text, ModuleAddress::parse(text), false};
    }
    const bool mayBeHost = isHostName(text) && !isNumber(text);
    return {text, mayBeHost ? std::optional{ModuleAddress::parse(text)} : std::nullopt, true};
}

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
        if (end == std::string_view::npos)
            refuse(text, "the bracket is not closed");
        address.host = rest.substr(1, end - 1);
        rest.remove_prefix(end + 1);
        if (!rest.empty() && !rest.starts_with(':'))
            refuse(text, "only :PORT can follow the bracket");
    } else {
        const auto colon = rest.find(':');
        if (colon != std::string_view::npos && rest.find(':', colon + 1) != std::string_view::npos)
            refuse(text, "an IPv6 address stands in brackets");
        address.host = rest.substr(0, colon);
        rest.remove_prefix(address.host.size());
    }
    if (!rest.empty())
        address.port = parsePort(text, rest.substr(1));
    if (address.host.empty())
        refuse(text, "the host is missing");
    for (const char c : address.host)
        if (!isHostCharacter(c))
            refuse(text, "a host name holds no blanks, slashes or brackets");
    return address;
}

} // namespace zel::cli
