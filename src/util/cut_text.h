#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace zel {

/// Cuts the text to the field, but never within a character, and fills what is left with zeros.
template <std::size_t Size>
void cutText(std::string_view text, char (&field)[Size])
{
    std::size_t length = std::min(text.size(), Size - 1);
    const auto continuesCharacter = [&](std::size_t at) {
        return at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80;
    };
    while (length > 0 && continuesCharacter(length))
        --length;
    std::memcpy(field, text.data(), length);
    std::memset(field + length, 0, Size - length);
}

} // namespace zel
