#include "wsa.h"

#include "logger.h"
#include "socket_library.h"

namespace zel::sys {

void clWsa::startup()
{
    if (m_count == 0 && !startSocketLibrary())
        logger().write(LogLevel::info, LogCategory::system,
                       "clWsa::Startup(): Error calling WSAStartup()");
    ++m_count;
}

void clWsa::cleanup()
{
    if (m_count == 0)
        return;
    --m_count;
    if (m_count == 0 && !stopSocketLibrary())
        logger().write(LogLevel::info, LogCategory::system,
                       "clWsa::Cleanup(): Error calling WSACleanup()");
}

} // namespace zel::sys
