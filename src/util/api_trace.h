#pragma once

#include "mutex.h"
#include "trace_script.h"
#include "trace_sequence.h"

#include <initializer_list>

namespace zel {

/// Records calls of exports: in a script that repeats them, and in a log of what happened when on
/// which thread. Any thread.
class clApiTrace {
public:
    /// Both files go into "ZEL" below the user's folder; throws zel::exception when one cannot be
    /// opened.
    clApiTrace();
    explicit clApiTrace(const std::filesystem::path& folder);

    /// The process's trace, made by the first call of this; nothing else makes it.
    static clApiTrace& instance();

    /// Switches the sequence log, which is on at first; the script is always written.
    void enable(bool isEnabled);

    /// Where a call that has begun is recorded, so that its end is too, and nowhere else.
    struct Begun {
        bool isInScript = false;
        bool isInSequence = false;
    };
    Begun beginCall(const char* exportName, std::initializer_list<TraceValue> arguments);
    void endCall(Begun begun, std::int32_t code);
    void endCallByException(Begun begun);
    void recordWait(std::uint32_t milliseconds);

private:
    mutable Mutex m_mutex;
    bool m_isEnabled = true;
    clTraceScript m_script;
    clTraceSequence m_sequence;
};

/// One call of an export in the trace:
///
///     return RecordedCall{"ZEL_XPAR_ReadPar", {TracedUuid{uuid}, view, path}}([&] { return work;
///     });
class RecordedCall {
public:
    RecordedCall(const char* exportName, std::initializer_list<TraceValue> arguments,
                 clApiTrace& trace = clApiTrace::instance())
        : m_trace(trace), m_begun(trace.beginCall(exportName, arguments))
    {
    }

    template <class Work>
    std::int32_t operator()(Work&& work)
    {
        try {
            const std::int32_t code = work();
            m_trace.endCall(m_begun, code);
            return code;
        } catch (...) {
            m_trace.endCallByException(m_begun);
            throw;
        }
    }

private:
    clApiTrace& m_trace;
    const clApiTrace::Begun m_begun;
};

} // namespace zel
