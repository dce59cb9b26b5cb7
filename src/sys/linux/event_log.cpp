#include "event_log.h"

#include <system_error>

#include <syslog.h>

namespace zel::sys {

EventLog::EventLog() = default;
EventLog::~EventLog() = default;

void EventLog::writeError(const char* text)
{
    syslog(LOG_ERR, "%s", text);
}

std::string systemErrorText(int code)
{
    return std::system_category().message(code);
}

} // namespace zel::sys
