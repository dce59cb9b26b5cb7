#include "library.h"

namespace {

// Runs when the library is unloaded by dlclose, and at the end of the process, which look the same
// from here. At the end of the process other threads of the host may be inside calls.
[[gnu::destructor]] void unloadLibrary()
{
    zel::stopLibraryUnlessInUse();
}

} // namespace
