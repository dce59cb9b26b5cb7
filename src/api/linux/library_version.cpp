#include "library_version.h"

namespace zel {

std::string libraryVersion()
{
    return ZEL_VERSION ".0";
}

} // namespace zel
