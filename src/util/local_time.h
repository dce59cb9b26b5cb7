#pragma once

#include <ctime>

namespace zel {

/// The broken-down local time of this moment; safe to ask on any thread.
std::tm localTime();

} // namespace zel
