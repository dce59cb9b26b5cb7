#pragma once

#include <string>
#include <string_view>

namespace zel {

// What a document can hold. XML 1.0 knows no control characters but tab and the line ends, neither
// U+FFFE nor U+FFFF; and the text must be UTF-8.

bool isXmlText(std::string_view text);

/// The text with U+FFFD in the place of what a document cannot hold.
std::string xmlText(std::string_view text);

} // namespace zel
