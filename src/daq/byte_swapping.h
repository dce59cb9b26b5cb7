#pragma once

#include <cstddef>

/// Reverses the byte order of many numbers at once, with what the processor has for it. Source and
/// destination may be the same, but must not overlap otherwise; neither need be aligned.
namespace zel::daq {

enum class Vectors { none, avx2, avx512 };

/// The widest vectors that this processor has.
Vectors bestVectors();

void swap4(const std::byte* from, std::byte* to, std::size_t elements,
           Vectors vectors = bestVectors());
void swap8(const std::byte* from, std::byte* to, std::size_t elements,
           Vectors vectors = bestVectors());
/// Elements of an 8-byte and a 4-byte number.
void swap8And4(const std::byte* from, std::byte* to, std::size_t elements,
               Vectors vectors = bestVectors());

} // namespace zel::daq
