#pragma once

#include "text_stream.h"

#include <cstddef>
#include <iomanip>
#include <string>

namespace zel::sys {

inline std::string hardwareAddressText(const unsigned char* bytes, std::size_t size)
{
    TextStream text;
    text << std::hex << std::setfill('0');
    for (std::size_t i = 0; i < size; ++i)
        text << (i == 0 ? "" : ":") << std::setw(2) << unsigned{bytes[i]};
    return text.str();
}

} // namespace zel::sys
