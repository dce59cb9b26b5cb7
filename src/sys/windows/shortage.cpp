#include "shortage.h"

#include <winsock2.h>

namespace zel::sys {

std::error_code lastShortage()
{
    switch (GetLastError()) {
    case WSAEMFILE:
    case ERROR_TOO_MANY_OPEN_FILES:
        return std::make_error_code(std::errc::too_many_files_open);
    case WSAENOBUFS:
    case ERROR_NO_SYSTEM_RESOURCES:
        return std::make_error_code(std::errc::no_buffer_space);
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY:
        return std::make_error_code(std::errc::not_enough_memory);
    default:
        return {};
    }
}

} // namespace zel::sys
