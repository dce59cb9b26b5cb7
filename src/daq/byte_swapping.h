#pragma once

#include <cstddef>

/// Turns the byte order of many numbers at once, with what the processor has for it. Source and
/// destination may be the same, but must not overlap otherwise; neither need be aligned.
namespace zel::daq {

void swap4(const std::byte* from, std::byte* to, std::size_t elements);
void swap8(const std::byte* from, std::byte* to, std::size_t elements);
/// Elements of an 8-byte and a 4-byte number.
void swap8And4(const std::byte* from, std::byte* to, std::size_t elements);

} // namespace zel::daq
