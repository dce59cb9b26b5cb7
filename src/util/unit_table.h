#pragma once

#include <cstdint>
#include <span>

namespace zel {

/// A physical unit as modules number it. A value in this unit becomes one in the base unit of its
/// quantity by: base value = value * factor - offset.
struct UnitRow {
    std::uint32_t code;
    double factor;
    double offset;
    const char* name; // UTF-8, unique
    /// In SI exponents: the top byte is a signed power of ten, the next one the unit above the
    /// fraction bar, the next one the unit below it; 0 where the unit has no such form.
    std::uint32_t encoded;
};

/// All units. The order is part of the table: searches take the first row that fits.
std::span<const UnitRow> unitTable();

} // namespace zel
