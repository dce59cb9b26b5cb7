/**
 * @file network.hpp
 * Looking for modules. Included by ZEL_VR_Framework.hpp.
 */
#ifndef ZEL_NETWORK_HPP
#define ZEL_NETWORK_HPP

#include "address.hpp"
#include "connection.hpp"
#include "library.hpp"

#include <cstdint>
#include <future>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

/// One of this host's network adapters, under the number that scans know it by. Texts are "" where
/// there is nothing to tell.
struct Adapter {
    std::uint32_t number = 0; ///< counts from 0
    std::string name{};
    std::string address{}; ///< IPv4
    std::string mask{};
    std::string hardware{};
};

/// A module that answered a scan, and the adapter that heard it.
struct FoundModule {
    std::string address{}; ///< IPv4, as the module tells it
    std::string mask{};
    std::uint32_t port = 0;
    std::string name{};
    std::uint64_t uuid = 0;
    std::string type{};
    std::string firmware{};
    Adapter adapter{};

    /// Whether this host can talk to it over the adapter as both are set.
    bool fits() const
    {
        const auto own = ipv4(adapter.address);
        const auto ownMask = ipv4(adapter.mask);
        const auto theirs = ipv4(address);
        return own && ownMask && theirs && (*own & *ownMask) == (*theirs & *ownMask);
    }

    /// Where it can be connected to; nothing where it tells no address, or no port, that is one.
    std::optional<Address> tcpAddress() const
    {
        if (!ipv4(address) || port == 0 || port > 65535)
            return {};
        return Address{address, static_cast<std::uint16_t>(port)};
    }
};

namespace detail {

/// The documents that the library itself lists adapters and modules in: elements of texts.
class XmlText {
public:
    explicit XmlText(std::string_view document) : m_rest(document) {}

    /// What stands in the next element of this name, as it is written; nothing behind the last.
    std::optional<std::string_view> next(std::string_view name)
    {
        for (;;) {
            const auto open = m_rest.find('<');
            if (open == std::string_view::npos)
                return {};
            m_rest.remove_prefix(open + 1);
            const auto close = m_rest.find('>');
            if (close == std::string_view::npos)
                return {};
            const std::string_view tag = m_rest.substr(0, close);
            m_rest.remove_prefix(close + 1);
            if (tag.substr(0, tag.find_first_of(" \t\n\r/")) != name)
                continue;
            if (tag.ends_with('/'))
                return std::string_view{};
            const auto end = m_rest.find("</" + std::string(name) + ">");
            const std::string_view content = m_rest.substr(0, end);
            m_rest.remove_prefix((std::min)(content.size(), m_rest.size()));
            return content;
        }
    }

    /// The text of a child, without its escapes; "" where there is none, or nothing but blanks.
    static std::string child(std::string_view element, std::string_view name)
    {
        const std::string text = plain(XmlText(element).next(name).value_or(""));
        return holdsOnly(text, " \t\r\n") ? std::string{} : text;
    }

private:
    static std::string plain(std::string_view written)
    {
        std::string text;
        while (!written.empty()) {
            const auto reference = (std::min)(written.find('&'), written.size());
            text += written.substr(0, reference);
            written.remove_prefix(reference);
            const auto end = written.find(';');
            if (end == std::string_view::npos) {
                text += written;
                break;
            }
            appendCharacter(text, written.substr(1, end - 1));
            written.remove_prefix(end + 1);
        }
        return text;
    }

    static void appendCharacter(std::string& text, std::string_view name)
    {
        for (const auto& [known, character] :
             {std::pair{"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}}) {
            if (name == known)
                text += character;
        }
        if (!name.starts_with('#'))
            return;
        const std::string digits = (name.starts_with("#x") ? "0x" : "") +
                                   std::string(name.substr(name.starts_with("#x") ? 2 : 1));
        const std::uint32_t code = unsignedNumber<std::uint32_t>(digits).value_or(0xFFFD);
        if (code < 0x80) {
            text += static_cast<char>(code);
            return;
        }
        unsigned shift = code < 0x800 ? 6 : code < 0x10000 ? 12 : 18; // in UTF-8
        const unsigned lead = shift == 6 ? 0xC0 : shift == 12 ? 0xE0 : 0xF0;
        text += static_cast<char>(lead | (code >> shift & 0x3FU));
        while (shift > 0) {
            shift -= 6;
            text += static_cast<char>(0x80U | (code >> shift & 0x3FU));
        }
    }

    std::string_view m_rest;
};

/// A document that may not tell its length where it does not fit.
template <class Call>
std::string readOwnDocument(std::size_t room, const std::string& tried, Call&& call)
{
    constexpr std::size_t kLargest = std::size_t{1} << 28U;
    for (;; room *= 4) {
        const auto buffer = std::make_unique_for_overwrite<char[]>(room);
        std::uint64_t length = 0;
        const std::int32_t code = call(buffer.get(), &length, std::uint64_t{room});
        if (code == ZEL_SRV_BUFFER_TOO_SMALL && room < kLargest)
            continue;
        check(code, tried);
        return {buffer.get(), length};
    }
}

inline std::vector<FoundModule> scanOver(const Adapter& adapter)
{
    // Another attempt is another scan: there is room for more modules than a network has.
    constexpr std::size_t kRoom = std::size_t{1} << 22U;
    const std::string document =
        readOwnDocument(kRoom, "scan over " + adapter.name,
                        [&](char* buffer, std::uint64_t* length, std::uint64_t capacity) {
                            return ZEL_XCOM_DoNetScan(adapter.number, buffer, length, capacity);
                        });
    std::vector<FoundModule> modules;
    XmlText elements(document);
    while (const auto element = elements.next("Module")) {
        modules.push_back(
            {.address = XmlText::child(*element, "IpAdr"),
             .mask = XmlText::child(*element, "SubMask"),
             .port = unsignedNumber<std::uint32_t>(XmlText::child(*element, "TcpPort")).value_or(0),
             .name = XmlText::child(*element, "Name"),
             .uuid = unsignedNumber<std::uint64_t>(XmlText::child(*element, "Uuid")).value_or(0),
             .type = XmlText::child(*element, "ModuleType"),
             .firmware = XmlText::child(*element, "FirmwareVersion"),
             .adapter = adapter});
    }
    return modules;
}

/// In small letters, those of ASCII and Latin-1.
inline std::string lowered(std::string text)
{
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        const bool isLatin = i > 0 && text[i - 1] == '\xC3' && c <= 0x9E && c != 0x97;
        if (isLatin || (c >= 'A' && c <= 'Z'))
            text[i] = static_cast<char>(c + 0x20);
    }
    return text;
}

} // namespace detail

/// How well a module answers to a text.
enum class Match : std::uint8_t {
    none,
    beginning, ///< its name begins with it, in capitals or not
    otherCase, ///< its name but for capitals
    whole      ///< its name or its UUID, in decimal or behind "0x"
};

inline Match matchOf(const FoundModule& module, const std::string& text)
{
    if (module.name == text || module.uuid == detail::unsignedNumber<std::uint64_t>(text))
        return Match::whole;
    const std::string wanted = detail::lowered(text);
    const std::string name = detail::lowered(module.name);
    return name == wanted             ? Match::otherCase
           : name.starts_with(wanted) ? Match::beginning
                                      : Match::none;
}

/// The modules that answer best to a text, each once, by the adapter that it fits where it was
/// heard by several.
inline std::vector<FoundModule> matchingModules(std::span<const FoundModule> modules,
                                                const std::string& text)
{
    Match best = Match::beginning;
    std::vector<FoundModule> matching;
    for (const FoundModule& module : modules) {
        const Match match = matchOf(module, text);
        if (match < best)
            continue;
        if (match > best) {
            best = match;
            matching.clear();
        }
        const auto known = std::ranges::find(matching, module.uuid, &FoundModule::uuid);
        if (known == matching.end())
            matching.push_back(module);
        else if (!known->fits())
            *known = module;
    }
    return matching;
}

/// This host's network adapters (ZEL_XCOM_GetNetAdapter). Asks the system, and waits for no module;
/// works without a Library. Any thread. Throws Error.
inline std::vector<Adapter> listAdapters()
{
    const std::string document = detail::readOwnDocument(
        std::size_t{1} << 15U, "list the adapters of this host", ZEL_XCOM_GetNetAdapter);
    std::vector<Adapter> adapters;
    detail::XmlText elements(document);
    while (const auto element = elements.next("NetSetting")) {
        using detail::XmlText;
        adapters.push_back({static_cast<std::uint32_t>(adapters.size()),
                            XmlText::child(*element, "AdapterName"),
                            XmlText::child(*element, "IpAdr"), XmlText::child(*element, "SubMask"),
                            XmlText::child(*element, "PhyAdr")});
    }
    return adapters;
}

/// Looks for modules over every adapter at once, or over the one of this number
/// (ZEL_XCOM_DoNetScan, a thread for each adapter). A module that several adapters hear is listed
/// for each; also modules whose address does not fit this host are found. Holds a Library
/// meanwhile.
///
/// Any thread; blocks for 3 s, or as long as the environment's ZEL_SCAN_TIME says. Throws Error;
/// std::invalid_argument where the host has no such adapter; std::system_error where it has no
/// thread to spare.
inline std::vector<FoundModule> scan(std::optional<std::uint32_t> adapter = {})
{
    const Library library;
    const auto adapters = listAdapters();
    if (adapter && *adapter >= adapters.size())
        throw std::invalid_argument("this host has no adapter " + std::to_string(*adapter));
    std::vector<std::future<std::vector<FoundModule>>> scans;
    for (const Adapter& one : adapters)
        if (!adapter || one.number == *adapter)
            scans.push_back(
                std::async(std::launch::async, [one] { return detail::scanOver(one); }));
    std::vector<FoundModule> modules;
    for (auto& found : scans)
        for (auto& module : found.get())
            modules.push_back(std::move(module));
    return modules;
}

/// The one module that answers to a name or UUID, as matchingModules() finds it. Throws Error with
/// the code ZEL_TCP_CONNECT_FAILED where none does, or several, or where it tells no address that
/// can be connected to. Blocks as scan() does.
inline FoundModule findModule(const std::string& text)
{
    const auto matching = matchingModules(scan(), text);
    if (matching.size() == 1 && matching.front().tcpAddress())
        return matching.front();
    throw Error({.code = ZEL_TCP_CONNECT_FAILED,
                 .tried = "find the module '" + text + "'",
                 .codeText = matching.empty() ? "no module in the network answers to this name"
                             : matching.size() == 1
                                 ? "it tells no address that can be connected to"
                                 : std::to_string(matching.size()) +
                                       " modules answer to this name, " + matching[0].name +
                                       " at " + matching[0].address + " and " + matching[1].name +
                                       " at " + matching[1].address + " among them"});
}

/// The topology of the library's connections as a document: "Topology" with one "Leaf" for each
/// (ZEL_XSTAT_GetTopologyString). Nothing is sent; any thread. Throws Error, with the code
/// ZEL_SYS_NOT_STARTED where no Library lives.
inline std::string topology()
{
    std::string document;
    detail::check(readGrowing(document, ZEL_XSTAT_GetTopologyString), "make the topology");
    return document;
}

} // namespace zel

#endif
