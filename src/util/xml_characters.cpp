#include "xml_characters.h"

#include <cstddef>

namespace zel {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

struct Character {
    std::size_t length; // in bytes, at least 1
    bool isAllowed;
};

unsigned byteAt(std::string_view text, std::size_t at)
{
    return static_cast<unsigned char>(text[at]);
}

/// Bytes of a character that begins so; 0 where none does.
std::size_t lengthFor(unsigned lead)
{
    if (lead >= 0xC2 && lead <= 0xDF)
        return 2;
    if (lead >= 0xE0 && lead <= 0xEF)
        return 3;
    return lead >= 0xF0 && lead <= 0xF4 ? 4 : 0;
}

/// Whether the second byte fits: no overlong form, no surrogate, nothing above U+10FFFF.
bool canFollow(unsigned lead, unsigned second)
{
    const unsigned lowest = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const unsigned highest = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    return second >= lowest && second <= highest;
}

/// The first character. What is not UTF-8 counts up to the first byte that does not fit.
Character firstCharacter(std::string_view text)
{
    const unsigned lead = byteAt(text, 0);
    if (lead < 0x80)
        return {1, lead >= 0x20 || lead == '\t' || lead == '\n' || lead == '\r'};
    const std::size_t length = lengthFor(lead);
    for (std::size_t at = 1; at < length; ++at) {
        const bool fits = at < text.size() && (at == 1 ? canFollow(lead, byteAt(text, at))
                                                       : (byteAt(text, at) & 0xC0) == 0x80);
        if (!fits)
            return {at, false};
    }
    if (length == 0)
        return {1, false};
    const std::string_view character = text.substr(0, length);
    return {length, character != "\xEF\xBF\xBE" && character != "\xEF\xBF\xBF"};
}

std::size_t goodLength(std::string_view text)
{
    std::size_t length = 0;
    while (length < text.size()) {
        const Character next = firstCharacter(text.substr(length));
        if (!next.isAllowed)
            break;
        length += next.length;
    }
    return length;
}

} // namespace

bool isXmlText(std::string_view text)
{
    return goodLength(text) == text.size();
}

std::string xmlText(std::string_view text)
{
    std::string out;
    for (;;) {
        const std::size_t good = goodLength(text);
        out.append(text.substr(0, good));
        text.remove_prefix(good);
        if (text.empty())
            return out;
        out.append(kReplacement);
        text.remove_prefix(firstCharacter(text).length);
    }
}

} // namespace zel
