#include "trace_sequence.h"

#include <atomic>

namespace zel {

namespace {

/// A thread's number is its own for good: the system gives its identifiers to other threads later.
std::uint64_t threadNumber()
{
    static std::atomic<std::uint64_t> last{0};
    thread_local const std::uint64_t number = ++last;
    return number;
}

std::string qualified(std::string_view qualifier, std::string_view function)
{
    std::string text{qualifier};
    if (!text.empty())
        text += ':';
    return text.append(function);
}

const char* marker(CallKind kind)
{
    switch (kind) {
    case CallKind::fromHost:
        return " ==> ";
    case CallKind::fromInside:
        return " --> ";
    case CallKind::notInScript:
        break;
    }
    return " (!) ";
}

} // namespace

clTraceSequence::clTraceSequence(const std::filesystem::path& folder) : m_file(folder, ".seq") {}

std::string clTraceSequence::lineStart() const
{
    const auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now() - m_begin);
    return "[" + std::to_string(elapsed.count()) + ", thread " + std::to_string(threadNumber()) +
           "]";
}

const std::string& clTraceSequence::currentFunction() const
{
    static const std::string kHost = "host";
    const auto thread = m_threads.find(threadNumber());
    return thread == m_threads.end() ? kHost : thread->second.back();
}

bool clTraceSequence::isInside() const
{
    return m_threads.contains(threadNumber());
}

void clTraceSequence::writeCall(std::string_view qualifier, CallKind kind,
                                std::string_view function)
{
    m_file.writeLine(lineStart() + qualified(qualifier, currentFunction()) + marker(kind) +
                     std::string{function});
    m_threads[threadNumber()].emplace_back(function);
}

void clTraceSequence::writeReturn(std::string_view qualifier, ReturnKind kind,
                                  std::string_view callerQualifier, std::string_view resultText)
{
    std::string line = lineStart() + qualified(qualifier, currentFunction()) +
                       (kind == ReturnKind::normal ? " <== " : " (X) ");
    if (const auto thread = m_threads.find(threadNumber()); thread != m_threads.end()) {
        thread->second.pop_back();
        if (thread->second.empty())
            m_threads.erase(thread);
    }
    line += qualified(callerQualifier, currentFunction());
    if (!resultText.empty())
        line.append(" ").append(resultText);
    m_file.writeLine(line);
}

} // namespace zel
