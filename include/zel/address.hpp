/**
 * @file address.hpp
 * Where a module listens. Included by ZEL_VR_Framework.hpp.
 */
#ifndef ZEL_ADDRESS_HPP
#define ZEL_ADDRESS_HPP

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

namespace zel {

/// Where modules listen, unless they are told another port.
inline constexpr std::uint16_t kModulePort = 55000;

/// Host and TCP port. Nothing here asks the network.
struct Address {
    std::string host{}; ///< IPv4 or IPv6 address, or a host's name
    std::uint16_t port = kModulePort;

    /// "192.168.169.20:55000", "[fe80::1]:55000"
    std::string text() const
    {
        const bool isIpv6 = host.find(':') != std::string::npos;
        return (isIpv6 ? "[" + host + "]" : host) + ":" + std::to_string(port);
    }

    /// Reads "host", "host:port", "[IPv6]" or "[IPv6]:port". Throws std::invalid_argument, which
    /// says what is wrong.
    static Address parse(const std::string& text);

    bool operator==(const Address&) const = default;
};

/// What a person types for a module: an address, a host's name, the module's own name or its UUID.
struct ModuleTarget {
    std::string text{};
    std::optional<Address> address{}; ///< to be tried first
    bool mayBeName = false;           ///< of a module, or a UUID: a scan finds it

    /// Tells them apart by their form: what has a port, brackets or three dots between numbers is
    /// an address. Throws std::invalid_argument for what is neither.
    static ModuleTarget parse(const std::string& text);
};

/// An IPv4 address as a number, its first part on top; nothing for any other text.
inline std::optional<std::uint32_t> ipv4(std::string_view text)
{
    std::optional<std::uint32_t> address = 0U;
    const char* position = text.data();
    const char* const end = position + text.size();
    for (int part = 0; part < 4 && address; ++part) {
        const bool isSeparated = part == 0 || (position != end && *position++ == '.');
        std::uint32_t value = 0;
        const auto read = std::from_chars(position, end, value);
        position = read.ptr;
        if (isSeparated && read.ec == std::errc{} && value <= 255)
            address = *address << 8U | value;
        else
            address.reset();
    }
    if (position != end)
        address.reset();
    return address;
}

namespace detail {

inline constexpr std::string_view kDecimalDigits = "0123456789";

inline bool holdsOnly(std::string_view text, std::string_view characters)
{
    return text.find_first_not_of(characters) == std::string_view::npos;
}

inline bool isHostCharacter(char c)
{
    return static_cast<unsigned char>(c) > ' ' && c != '/' && c != '[' && c != ']' && c != '\x7f';
}

[[noreturn]] inline void refuseAddress(const std::string& text, const std::string& why)
{
    throw std::invalid_argument("'" + text + "' is no module address: " + why);
}

/// The whole text as a number, decimal or with 0x in front; nothing when it is anything else or
/// does not fit.
template <class Number>
std::optional<Number> unsignedNumber(std::string_view text)
{
    const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
    text.remove_prefix(isHexadecimal ? 2 : 0);
    Number number{};
    const auto end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, isHexadecimal ? 16 : 10);
    return error == std::errc{} && stop == end ? std::optional{number} : std::nullopt;
}

/// What nobody means who names a module, so that a mistyped address need not wait for a scan.
inline bool isMeantAsAddress(const std::string& text)
{
    const auto colon = text.find(':');
    const bool hasColon = colon != std::string::npos;
    const bool hasPort = hasColon && holdsOnly(text.substr(colon + 1), kDecimalDigits);
    const bool isIpv6 = hasColon && holdsOnly(text, "0123456789abcdefABCDEF:");
    const bool isIpv4 =
        holdsOnly(text, "0123456789.") && std::count(text.begin(), text.end(), '.') == 3;
    return text.empty() || text.starts_with('[') || hasPort || isIpv6 || isIpv4 ||
           text == "localhost";
}

} // namespace detail

inline Address Address::parse(const std::string& text)
{
    Address address;
    std::string_view rest = text;
    if (rest.starts_with('[')) {
        const auto end = rest.find(']');
        if (end == std::string_view::npos)
            detail::refuseAddress(text, "the bracket is not closed");
        address.host = rest.substr(1, end - 1);
        rest.remove_prefix(end + 1);
        if (!rest.empty() && !rest.starts_with(':'))
            detail::refuseAddress(text, "only :PORT can follow the bracket");
    } else {
        const auto colon = rest.find(':');
        if (colon != std::string_view::npos && rest.find(':', colon + 1) != std::string_view::npos)
            detail::refuseAddress(text, "an IPv6 address stands in brackets");
        address.host = rest.substr(0, colon);
        rest.remove_prefix(address.host.size());
    }
    if (!rest.empty()) {
        const auto port = detail::unsignedNumber<std::uint16_t>(rest.substr(1));
        if (!port || *port == 0)
            detail::refuseAddress(text, "a port is a number from 1 to 65535");
        address.port = *port;
    }
    if (address.host.empty())
        detail::refuseAddress(text, "the host is missing");
    if (!std::all_of(address.host.begin(), address.host.end(), detail::isHostCharacter))
        detail::refuseAddress(text, "a host name holds no blanks, slashes or brackets");
    return address;
}

inline ModuleTarget ModuleTarget::parse(const std::string& text)
{
    if (detail::isMeantAsAddress(text)) {
        if (detail::holdsOnly(text, "0123456789.") && !ipv4(text) && !text.empty())
            detail::refuseAddress(text, "an IPv4 address has four numbers from 0 to 255");
        return {text, Address::parse(text), false};
    }
    // Resolvers take any number for an address; here it is a UUID.
    const bool isNumber =
        detail::holdsOnly(text, "0123456789.") || text.starts_with("0x") || text.starts_with("0X");
    const bool mayBeHost = !isNumber && text.find(':') == std::string::npos &&
                           std::all_of(text.begin(), text.end(), detail::isHostCharacter);
    return {text, mayBeHost ? std::optional{Address::parse(text)} : std::nullopt, true};
}

} // namespace zel

#endif
