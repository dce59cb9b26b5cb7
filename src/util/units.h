#pragma once

#include "zel/units.hpp"

#include <string_view>

namespace zel {

// Look-ups in the table of units. All take constant time; the index behind them is built by the
// first look-up and lives for the whole process. Any thread.

/// Null for a code that is not in the table.
const Unit* findUnit(std::uint32_t code);
/// As it is written in the table, byte for byte.
const Unit* findUnit(std::string_view name);

/// The code of a name in which "&#181;" or "&#xB5;" may stand for a character; ZEL_UNIT_NOT_FOUND.
std::int32_t unitCode(std::string_view name);

/// The code of a unit in SI exponents; ZEL_UNIT_NOT_FOUND, also for 0.
std::int32_t unitCodeOfEncoded(std::uint32_t encoded);

} // namespace zel
