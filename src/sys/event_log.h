#pragma once

#include <string>

namespace zel::sys {

/// Where the event loop reports its own failures: the event log of Windows, syslog on Linux.
class EventLog {
public:
    EventLog();
    ~EventLog();
    EventLog(const EventLog&) = delete;
    EventLog& operator=(const EventLog&) = delete;

    void writeError(const char* text);

private:
    void* m_source = nullptr;
};

/// The system's text for one of its own error codes.
std::string systemErrorText(int code);

} // namespace zel::sys
