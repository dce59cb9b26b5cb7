#pragma once

#include <cstdint>

namespace zel::sys {

std::uint32_t processId();

} // namespace zel::sys
