#include "api_trace.h"

#include "host_facts.h"

namespace zel {

clApiTrace::clApiTrace() : clApiTrace(userFolder() += "/ZEL") {}

clApiTrace::clApiTrace(const std::filesystem::path& folder) : m_script(folder), m_sequence(folder)
{
}

clApiTrace& clApiTrace::instance()
{
    static clApiTrace trace;
    return trace;
}

void clApiTrace::enable(bool isEnabled)
{
    const std::lock_guard lock{m_mutex};
    m_isEnabled = isEnabled;
}

clApiTrace::Begun clApiTrace::beginCall(const char* exportName,
                                        std::initializer_list<TraceValue> arguments)
{
    const std::lock_guard lock{m_mutex};
    const Begun begun{.isInScript = m_script.writeCall(exportName, arguments),
                      .isInSequence = m_isEnabled};
    if (begun.isInSequence) {
        CallKind kind = CallKind::notInScript;
        if (begun.isInScript)
            kind = m_sequence.isInside() ? CallKind::fromInside : CallKind::fromHost;
        m_sequence.writeCall({}, kind, exportName);
    }
    return begun;
}

void clApiTrace::endCall(Begun begun, std::int32_t code)
{
    const std::lock_guard lock{m_mutex};
    if (begun.isInScript)
        m_script.writeResult(code);
    if (begun.isInSequence)
        m_sequence.writeReturn({}, ReturnKind::normal, {}, std::to_string(code));
}

void clApiTrace::endCallByException(Begun begun)
{
    const std::lock_guard lock{m_mutex};
    if (begun.isInSequence)
        m_sequence.writeReturn({}, ReturnKind::exception, {}, {});
}

void clApiTrace::recordWait(std::uint32_t milliseconds)
{
    const std::lock_guard lock{m_mutex};
    m_script.writeWait(milliseconds);
}

} // namespace zel
