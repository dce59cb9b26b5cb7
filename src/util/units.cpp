#include "units.h"

#include "hexadecimal_text.h"
#include "process_wide.h"
#include "ZEL_VR_Framework.h"

#include <cstddef>
#include <memory_resource>
#include <string>
#include <unordered_map>

namespace zel {

namespace {

// Its memory is a part of the library file: nothing stays behind when that is unloaded.
class Index {
    alignas(std::max_align_t) std::byte m_storage[32 * 1024];
    std::pmr::monotonic_buffer_resource m_memory{m_storage, sizeof m_storage};

public:
    std::pmr::unordered_map<std::string_view, const Unit*> byName{&m_memory};
    std::pmr::unordered_map<std::uint32_t, const Unit*> byCode{&m_memory};
    std::pmr::unordered_map<std::uint32_t, const Unit*> byEncoded{&m_memory};

    Index()
    {
        const std::size_t most = units().size();
        byName.reserve(most);
        byCode.reserve(most);
        byEncoded.reserve(most);
        // The first of several rows stays.
        for (const Unit& row : units()) {
            byName.try_emplace(row.name, &row);
            byCode.try_emplace(row.code, &row);
            if (row.encoded != 0)
                byEncoded.try_emplace(row.encoded, &row);
        }
    }
};

const Index& index()
{
    static constinit ProcessWide<Index, InChild::kept> made;
    return *made;
}

template <class Map, class Key>
const Unit* found(const Map& map, const Key& key)
{
    const auto entry = map.find(key);
    return entry == map.end() ? nullptr : entry->second;
}

std::int32_t codeOf(const Unit* row)
{
    return row == nullptr ? ZEL_UNIT_NOT_FOUND : static_cast<std::int32_t>(row->code);
}

/// Reads the reference that `text` begins with. It becomes 0xC2 and the number's low byte, which is
/// right for the characters that units have; whatever stands behind the digits is taken for the
/// semicolon. Returns how long the reference is, 0 where it is none.
std::size_t expandReference(std::string_view text, std::string& out)
{
    if (!text.starts_with("&#"))
        return 0;
    const unsigned base = text.substr(2).starts_with('x') ? 16 : 10;
    const std::size_t first = base == 16 ? 3 : 2;
    std::size_t position = first;
    unsigned number = 0;
    for (; position < text.size() && hexadecimalDigit(text[position]) < base; ++position)
        number = number * base + hexadecimalDigit(text[position]);
    if (position == first)
        return 0;
    out += '\xC2';
    out += static_cast<char>(number & 0xFF);
    return position < text.size() ? position + 1 : position;
}

std::optional<std::string> expandReferences(std::string_view name)
{
    std::string expanded;
    while (!name.empty()) {
        if (name.front() != '&') {
            expanded += name.front();
            name.remove_prefix(1);
            continue;
        }
        const std::size_t length = expandReference(name, expanded);
        if (length == 0)
            return std::nullopt;
        name.remove_prefix(length);
    }
    return expanded;
}

} // namespace

const Unit* findUnit(std::uint32_t code)
{
    return found(index().byCode, code);
}

const Unit* findUnit(std::string_view name)
{
    return found(index().byName, name);
}

std::int32_t unitCode(std::string_view name)
{
    if (name.find('&') == std::string_view::npos)
        return codeOf(findUnit(name));
    const auto expanded = expandReferences(name);
    return expanded ? codeOf(findUnit(*expanded)) : ZEL_UNIT_NOT_FOUND;
}

std::int32_t unitCodeOfEncoded(std::uint32_t encoded)
{
    return codeOf(found(index().byEncoded, encoded));
}

} // namespace zel
