#pragma once

#include "method_request.h"

#include <cstdint>

namespace zel {

/// Asks a module for the text of a result code. The text is empty when the module does not answer,
/// and stays valid until the next call: all callers share one buffer, which has no lock.
const char* textFromModule(const RemoteModule& module, std::int32_t code);
/// Gives its memory back. No other call may be under way.
void dropTextFromModule();

} // namespace zel
