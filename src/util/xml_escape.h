#pragma once

#include <string>
#include <string_view>

namespace zel {

/// Appends the text with its five markup characters (" & ' < >) as entities; every other byte
/// passes unchanged, so UTF-8 stays UTF-8. Makes room for twice the text's length once.
void appendXmlEscaped(std::string& out, std::string_view text);

} // namespace zel
