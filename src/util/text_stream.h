#pragma once

#include <locale>
#include <sstream>

namespace zel {

/// Composes texts that are the same whatever locale the host has made the global one.
class TextStream : public std::ostringstream {
public:
    TextStream() { imbue(std::locale::classic()); }
};

} // namespace zel
