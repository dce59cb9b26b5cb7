#pragma once

#include "result_texts.h"

#include <array>
#include <atomic>
#include <cstdint>

namespace zel {

/// Both bounds belong to the range.
struct CodeRange {
    std::int32_t low;
    std::int32_t high;

    bool contains(std::int32_t code) const { return low <= code && code <= high; }
};

/// Answers the texts of the codes in its ranges. Handlers form one process-wide chain; the library
/// has a single one, which its manager owns from ZEL_Init to ZEL_Unload.
///
/// Look-ups take no lock. Handlers come and go only while no export runs; the network thread may
/// still log a text then, which finds either the whole chain or none. A handler that goes waits for
/// it.
class clTextHandler {
public:
    /// Appends itself to the chain. The table must outlive the handler.
    clTextHandler(const TextTable& table, CodeRange range1, CodeRange range2, CodeRange range3);
    /// Ends the chain at this handler, and empties it when this is the first one.
    virtual ~clTextHandler();
    clTextHandler(const clTextHandler&) = delete;
    clTextHandler& operator=(const clTextHandler&) = delete;

    const clTextHandler* next() const { return m_next; }
    /// Null for a code outside the ranges or without a text.
    const char* find(std::int32_t code) const;

private:
    const TextTable& m_table;
    const std::array<CodeRange, 3> m_ranges;
    std::atomic<clTextHandler*> m_next{nullptr};
};

/// What resultText answers for a code without a text.
inline constexpr const char* kTextMissing = "## text missing ##";

/// The text of a code, from the first handler of the chain that knows it; never null.
const char* resultText(std::int32_t code);

/// The text of a code for the log, which may ask before the handler comes and after it has gone.
const char* logText(std::int32_t code);

} // namespace zel
