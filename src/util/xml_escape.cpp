#include "xml_escape.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace zel {

namespace {

constexpr std::uint64_t kEach = 0x0101010101010101;
constexpr std::uint64_t kTopBits = 0x8080808080808080;

constexpr std::uint64_t inEachByte(char character)
{
    return kEach * static_cast<unsigned char>(character);
}

// Not zero exactly if a byte of the word is zero.
constexpr std::uint64_t zeroBytes(std::uint64_t word)
{
    return (word - kEach) & ~word & kTopBits;
}

// '"' and '&' differ in one bit, and so do '<' and '>': three comparisons cover the five.
constexpr std::uint64_t markupBytes(std::uint64_t word)
{
    static_assert(('"' ^ '&') == 0x04 && ('<' ^ '>') == 0x02);
    return zeroBytes((word | inEachByte(0x04)) ^ inEachByte('&')) |
           zeroBytes((word | inEachByte(0x02)) ^ inEachByte('>')) |
           zeroBytes(word ^ inEachByte('\''));
}

constexpr std::string_view entityOf(char character)
{
    switch (character) {
    case '"':
        return "&quot;";
    case '&':
        return "&amp;";
    case '\'':
        return "&apos;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    default:
        return {};
    }
}

std::size_t plainRunLength(std::string_view text)
{
    std::size_t at = 0;
    for (; at + sizeof(std::uint64_t) <= text.size(); at += sizeof(std::uint64_t)) {
        std::uint64_t word = 0;
        std::memcpy(&word, text.data() + at, sizeof(word));
        if (markupBytes(word) != 0)
            break;
    }
    while (at < text.size() && entityOf(text[at]).empty())
        ++at;
    return at;
}

// Growth stays geometric, so that many short texts appended one by one cost linear time.
void makeRoom(std::string& out, std::size_t textSize)
{
    const std::size_t wanted = out.size() + 2 * textSize;
    if (wanted > out.capacity())
        out.reserve(std::max(wanted, 2 * out.capacity()));
}

} // namespace

void appendXmlEscaped(std::string& out, std::string_view text)
{
    makeRoom(out, text.size());
    while (!text.empty()) {
        const std::size_t run = plainRunLength(text);
        out.append(text.substr(0, run));
        if (run == text.size())
            return;
        out.append(entityOf(text[run]));
        text.remove_prefix(run + 1);
    }
}

} // namespace zel
