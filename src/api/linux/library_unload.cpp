#include "ZEL_VR_Framework.h"

namespace {

// Runs when the library is unloaded by dlclose, and at the end of the process.
[[gnu::destructor]] void unloadLibrary()
{
    ZEL_Unload();
}

} // namespace
