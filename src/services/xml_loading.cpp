#include "xml_loading.h"

#include "mutex.h"
#include "process_wide.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <mutex>
#include <new>
#include <string>

namespace zel {

namespace {

// A document takes up to twenty times its length when it is parsed.
constexpr std::size_t kLargestDocument = std::size_t{16} << 20;

class LastXmlError {
public:
    void note(std::string_view reason, std::ptrdiff_t offset)
    {
        const std::string text = std::string{reason} + " at byte " + std::to_string(offset);
        const std::size_t length = std::min(text.size(), m_text.size() - 1);
        const std::lock_guard lock{m_mutex};
        std::memcpy(m_text.data(), text.data(), length);
        m_text[length] = '\0';
    }
    const char* text() const { return m_text.data(); }

private:
    Mutex m_mutex; // keeps failures apart; who reads the text meanwhile is the host's affair
    std::array<char, 256> m_text{};
};

LastXmlError& lastError()
{
    static ProcessWide<LastXmlError> error;
    return *error;
}

} // namespace

bool loadXml(pugi::xml_document& document, Bytes text, unsigned options)
{
    if (text.size() > kLargestDocument) {
        lastError().note("The document is too long to be parsed",
                         static_cast<std::ptrdiff_t>(kLargestDocument));
        return false;
    }
    const pugi::xml_parse_result parsed = document.load_buffer(text.data(), text.size(), options);
    if (parsed.status == pugi::status_out_of_memory)
        throw std::bad_alloc{};
    if (!parsed)
        lastError().note(parsed.description(), parsed.offset);
    return parsed;
}

pugi::xml_node requireRoot(const pugi::xml_document& document, const char* name)
{
    const pugi::xml_node root = document.child(name);
    if (!root) {
        const pugi::xml_node other = document.document_element();
        lastError().note(std::string{"The root is \""} + other.name() + "\" instead of \"" + name +
                             "\"",
                         std::max<std::ptrdiff_t>(other.offset_debug(), 0));
    }
    return root;
}

std::string wholeText(const pugi::xml_node& element)
{
    std::string text;
    for (const pugi::xml_node& part : element.children())
        if (part.type() == pugi::node_pcdata || part.type() == pugi::node_cdata)
            text += part.value();
    return text;
}

const char* lastXmlError()
{
    return lastError().text();
}

} // namespace zel
