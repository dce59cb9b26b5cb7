#include "socket_library.h"

#include <winsock2.h>

namespace zel::sys {

bool startSocketLibrary()
{
    WSADATA data{};
    return WSAStartup(MAKEWORD(2, 2), &data) == 0;
}

bool stopSocketLibrary()
{
    return WSACleanup() == 0;
}

} // namespace zel::sys
