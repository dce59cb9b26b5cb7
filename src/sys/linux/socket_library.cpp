#include "socket_library.h"

namespace zel::sys {

bool startSocketLibrary()
{
    return true;
}

bool stopSocketLibrary()
{
    return true;
}

} // namespace zel::sys
