#pragma once

namespace zel::sys {

// Twins: Winsock 2.2 on Windows; Linux has nothing to load, and always succeeds.
bool startSocketLibrary();
bool stopSocketLibrary();

} // namespace zel::sys
