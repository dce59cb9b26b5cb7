#include "text_handler.h"

#include "process_wide.h"

#include <algorithm>
#include <atomic>
#include <thread>

namespace zel {

namespace {

struct Chain {
    std::atomic<clTextHandler*> first{nullptr};
    std::atomic<int> lookUps{0};
};

Chain& chain()
{
    static constinit ProcessWide<Chain> instance;
    return *instance;
}

/// A look-up that is going on, which a handler outlives.
struct LookUp {
    explicit LookUp(Chain& used) : chain(used) { ++chain.lookUps; }
    ~LookUp() { --chain.lookUps; }
    LookUp(const LookUp&) = delete;
    LookUp& operator=(const LookUp&) = delete;

    Chain& chain;
};

} // namespace

clTextHandler::clTextHandler(const TextTable& table, CodeRange range1, CodeRange range2,
                             CodeRange range3)
    : m_table(table), m_ranges{range1, range2, range3}
{
    clTextHandler* last = chain().first;
    if (last == nullptr) {
        chain().first = this;
        return;
    }
    while (clTextHandler* next = last->m_next)
        last = next;
    last->m_next = this;
}

clTextHandler::~clTextHandler()
{
    m_next = nullptr;
    if (chain().first == this)
        chain().first = nullptr;
    while (chain().lookUps != 0)
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
    const LookUp lookUp{chain()};
    for (const clTextHandler* handler = lookUp.chain.first; handler; handler = handler->next())
        if (const char* text = handler->find(code))
            return text;
    return kTextMissing;
}

const char* logText(std::int32_t code)
{
    const TextTable& table = resultTexts();
    const auto entry = table.find(code);
    return entry == table.end() ? kTextMissing : entry->second;
}

} // namespace zel
