#pragma once

#include "trace_file.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace zel {

/// How a call stands in the sequence log.
enum class CallKind {
    fromHost,   // " ==> "
    fromInside, // " --> ": from within a call that is recorded
    notInScript // " (!) ": an export that scripts do not have
};

enum class ReturnKind { normal, exception };

/// The log of calls and returns by thread. One thread at a time.
class clTraceSequence {
public:
    explicit clTraceSequence(const std::filesystem::path& folder);

    /// What stands before the ":" may be empty; then the ":" is left out too.
    void writeCall(std::string_view qualifier, CallKind kind, std::string_view function);
    /// The thread's current function returns to the one that called it.
    void writeReturn(std::string_view qualifier, ReturnKind kind, std::string_view callerQualifier,
                     std::string_view resultText);

    /// Whether the calling thread is within a recorded call.
    bool isInside() const;

private:
    using Functions = std::vector<std::string>; // the current one last

    std::string lineStart() const;
    const std::string& currentFunction() const;

    const std::chrono::steady_clock::time_point m_begin = std::chrono::steady_clock::now();
    std::unordered_map<std::uint64_t, Functions> m_threads;
    clTraceFile m_file;
};

} // namespace zel
