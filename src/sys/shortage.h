#pragma once

#include <system_error>

namespace zel::sys {

/// Why the system has just refused a call, where it was for want of descriptors, handles or memory;
/// empty where it had another reason. To be asked right after the call.
std::error_code lastShortage();

} // namespace zel::sys
