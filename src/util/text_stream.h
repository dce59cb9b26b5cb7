#pragma once

#include <locale>
#include <sstream>

namespace zel {

/// Composes texts that are the same whatever locale the host has made the global one. Throws
/// std::bad_alloc instead of leaving something out.
class TextStream : public std::ostringstream {
public:
    TextStream()
    {
        imbue(std::locale::classic());
        exceptions(std::ios::badbit);
    }
};

} // namespace zel
