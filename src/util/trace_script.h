#pragma once

#include "trace_file.h"
#include "trace_value.h"

#include <span>

namespace zel {

/// The script that repeats the calls of a host. One thread at a time.
class clTraceScript {
public:
    explicit clTraceScript(const std::filesystem::path& folder);

    /// False, and nothing written, for an export that scripts do not have.
    bool writeCall(std::string_view exportName, std::span<const TraceValue> arguments);
    void writeResult(std::int32_t code);
    void writeWait(std::uint32_t milliseconds);

private:
    clTraceFile m_file;
};

} // namespace zel
