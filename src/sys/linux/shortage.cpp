#include "shortage.h"

#include <cerrno>

namespace zel::sys {

std::error_code lastShortage()
{
    switch (errno) {
    case EMFILE:
    case ENFILE:
    case ENOBUFS:
    case ENOMEM:
        return {errno, std::system_category()};
    default:
        return {};
    }
}

} // namespace zel::sys
