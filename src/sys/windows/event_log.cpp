#include "event_log.h"

#include <windows.h>

namespace zel::sys {

EventLog::EventLog() : m_source(RegisterEventSourceW(nullptr, L"Application")) {}

EventLog::~EventLog()
{
    if (m_source)
        DeregisterEventSource(m_source);
}

void EventLog::writeError(const char* text)
{
    if (!m_source)
        return;
    LPCSTR strings[] = {text};
    ReportEventA(m_source, EVENTLOG_ERROR_TYPE, 0, 0, nullptr, 1, 0, strings, nullptr);
}

std::string systemErrorText(int code)
{
    char text[512];
    const DWORD length = FormatMessageA(
        FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK,
        nullptr, static_cast<DWORD>(code), 0, text, sizeof text, nullptr);
    if (length == 0)
        return "error " + std::to_string(code);
    return {text, length};
}

} // namespace zel::sys
