#include "call_log.h"

namespace zel::simulator {

CallLog::CallLog(std::size_t mostCalls, std::size_t mostBytes)
    : m_mostCalls(mostCalls), m_mostBytes(mostBytes)
{
}

void CallLog::add(ReceivedCall call)
{
    {
        const std::lock_guard lock{m_mutex};
        m_bytes += call.data.size();
        m_calls.push_back(std::move(call));
        ++m_count;
        while (!m_calls.empty() && (m_calls.size() > m_mostCalls || m_bytes > m_mostBytes)) {
            m_bytes -= m_calls.front().data.size();
            m_calls.pop_front();
        }
    }
    m_changed.notify_all();
}

std::vector<ReceivedCall> CallLog::all() const
{
    const std::lock_guard lock{m_mutex};
    return {m_calls.begin(), m_calls.end()};
}

void CallLog::clear()
{
    const std::lock_guard lock{m_mutex};
    m_calls.clear();
    m_bytes = 0;
    m_count = 0;
}

bool CallLog::waitFor(std::size_t count, milliseconds time) const
{
    std::unique_lock lock{m_mutex};
    return m_changed.wait_for(lock, time, [&] { return m_count >= count; });
}

} // namespace zel::simulator
