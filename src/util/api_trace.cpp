#include "api_trace.h"

#include "host_facts.h"
#include "trace_names.h"

namespace zel {

ApiTrace::ApiTrace() : ApiTrace(userFolder() += "/ZEL") {}

ApiTrace::ApiTrace(const std::filesystem::path& folder) : m_script(folder), m_sequence(folder) {}

ApiTrace& ApiTrace::instance()
{
    static ApiTrace trace;
    return trace;
}

void ApiTrace::enable(bool isEnabled)
{
    const std::lock_guard lock{m_mutex};
    m_isEnabled = isEnabled;
}

void ApiTrace::beginCall(const char* exportName, std::initializer_list<TraceValue> arguments)
{
    const std::lock_guard lock{m_mutex};
    m_script.writeCall(exportName, arguments);
    if (!m_isEnabled)
        return;
    CallKind kind = CallKind::notInScript;
    if (!traceName(exportName).empty())
        kind = m_sequence.isInside() ? CallKind::fromInside : CallKind::fromHost;
    m_sequence.writeCall({}, kind, exportName);
}

void ApiTrace::endCall(std::int32_t code)
{
    const std::lock_guard lock{m_mutex};
    m_script.writeResult(code);
    if (m_isEnabled)
        m_sequence.writeReturn({}, ReturnKind::normal, {}, std::to_string(code));
}

void ApiTrace::endCallByException()
{
    const std::lock_guard lock{m_mutex};
    if (m_isEnabled)
        m_sequence.writeReturn({}, ReturnKind::exception, {}, {});
}

void ApiTrace::recordWait(std::uint32_t milliseconds)
{
    const std::lock_guard lock{m_mutex};
    m_script.writeWait(milliseconds);
}

} // namespace zel
