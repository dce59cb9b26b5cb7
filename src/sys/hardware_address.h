#pragma once

#include <cstddef>
#include <iomanip>
#include <sstream>
#include <string>

namespace zel::sys {

inline std::string hardwareAddressText(const unsigned char* bytes, std::size_t size)
{
    std::ostringstream text;
    text << std::hex << std::setfill('0');
    for (std::size_t i = 0; i < size; ++i)
        text << (i == 0 ? "" : ":") << std::setw(2) << unsigned{bytes[i]};
    return text.str();
}

} // namespace zel::sys
