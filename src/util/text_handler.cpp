#include "text_handler.h"

#include <algorithm>
#include <atomic>
#include <thread>

namespace zel {

namespace {

std::atomic<clTextHandler*> g_firstHandler{nullptr};
std::atomic<int> g_lookUps{0};

/// A look-up that is going on, which a handler outlives.
struct LookUp {
    LookUp() { ++g_lookUps; }
    ~LookUp() { --g_lookUps; }
    LookUp(const LookUp&) = delete;
    LookUp& operator=(const LookUp&) = delete;
};

} // namespace

clTextHandler::clTextHandler(const TextTable& table, CodeRange range1, CodeRange range2,
                             CodeRange range3)
    : m_table(table), m_ranges{range1, range2, range3}
{
    clTextHandler* last = g_firstHandler;
    if (last == nullptr) {
        g_firstHandler = this;
        return;
    }
    while (clTextHandler* next = last->m_next)
        last = next;
    last->m_next = this;
}

clTextHandler::~clTextHandler()
{
    m_next = nullptr;
    if (g_firstHandler == this)
        g_firstHandler = nullptr;
    while (g_lookUps != 0)
        std::this_thread::yield();
}

const char* clTextHandler::find(std::int32_t code) const
{
    const bool inRange = std::ranges::any_of(
        m_ranges, [code](const CodeRange& range) { return range.contains(code); });
    if (!inRange)
        return nullptr;
    const auto entry = m_table.find(code);
    return entry == m_table.end() ? nullptr : entry->second;
}

const char* resultText(std::int32_t code)
{
    const LookUp lookUp;
    for (const clTextHandler* handler = g_firstHandler; handler; handler = handler->next()) {
        if (const char* text = handler->find(code))
            return text;
    }
    return kTextMissing;
}

} // namespace zel
