#include "call_pattern.h"
#include "library_version.h"
#include "mutex.h"
#include "process_wide.h"
#include "units.h"
#include "xml_loading.h"

#include <algorithm>
#include <array>
#include <mutex>
#include <string>
#include <string_view>

using namespace zel;

namespace {

/// The one buffer of all calls: whoever wants to keep a name copies it before the next call.
class UnitNameBuffer {
public:
    const char* hold(std::string_view name)
    {
        const std::lock_guard lock{m_mutex};
        const std::size_t length = std::min(name.size(), m_text.size() - 1);
        *std::copy_n(name.begin(), length, m_text.begin()) = '\0';
        return m_text.data();
    }

private:
    Mutex m_mutex;
    std::array<char, 32> m_text{};
};

/// The text, or an empty one where there is no memory for it.
template <class Text>
const char* textOrNothing(Text&& text)
{
    try {
        return text();
    } catch (...) {
        return "";
    }
}

} // namespace

int32_t ZEL_XUTIL_GetUnitCodeFromName(const char* name)
{
    return checked({name}, [&] { return unitCode(name); });
}

const char* ZEL_XUTIL_GetUnitNameFromCode(uint32_t code)
{
    return textOrNothing([&] {
        static constinit ProcessWide<UnitNameBuffer> buffer;
        const Unit* const unit = findUnit(code);
        return buffer->hold(unit == nullptr ? "" : unit->name);
    });
}

const char* ZEL_XUTIL_GetLastXmlError()
{
    return textOrNothing(lastXmlError);
}

const char* ZEL_XUTIL_GetDllVersion()
{
    return textOrNothing([] {
        static constinit ProcessWide<std::string, InChild::kept> version;
        return version.get(libraryVersion).c_str();
    });
}
