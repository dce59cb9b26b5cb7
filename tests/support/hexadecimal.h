#pragma once

#include <string>
#include <string_view>

namespace zel::test {

/// The bytes of hexadecimal digits; anything else between them is skipped.
std::string unhex(std::string_view digits);
/// Two digits for each byte and no space, as failures show them.
std::string hex(std::string_view bytes);

/// The digits of a big-endian 64-bit number.
std::string hex64(unsigned long long value);

} // namespace zel::test
