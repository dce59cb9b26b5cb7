#pragma once

#include <concepts>
#include <cstdint>
#include <string>

namespace zel {

struct TracedUuid {
    std::uint64_t value;
};

struct TracedTimeStamp {
    std::uint64_t value;
};

/// A buffer that the call fills: the script has two of its own for that.
struct TracedBuffer {};

/// One argument of a recorded call, in the syntax of the script.
class TraceValue {
public:
    TraceValue(TracedUuid uuid);
    TraceValue(TracedTimeStamp time);
    TraceValue(TracedBuffer) : m_isBuffer(true) {}
    TraceValue(bool value) : m_text(value ? "true" : "false") {}
    template <std::integral Number>
    TraceValue(Number value) : m_text(std::to_string(value))
    {
    }
    TraceValue(float value);
    TraceValue(double value);
    TraceValue(const void* pointer);
    /// A text; null is "nil".
    TraceValue(const char* text);

    bool isBuffer() const { return m_isBuffer; }
    const std::string& text() const { return m_text; }

private:
    std::string m_text;
    bool m_isBuffer = false;
};

} // namespace zel
