#pragma once

#include "byte_cursor.h"
#include "number_format.h"
#include "xml_loading.h"
#include "ZEL_VR_Framework.h"

#include <cstdint>
#include <string>
#include <string_view>

#include <pugixml.hpp>

namespace zel {

/// A number that may be missing; 0 also where the text is no number.
template <class Number>
Number numberOrZero(std::string_view text)
{
    Number number{};
    parseNumber(text, number);
    return number;
}

/// Reads an XML response, root "SrvParams". What comes from the wire may be anything: nothing here
/// walks a document recursively.
class clResponseDocument {
public:
    /// Returns 0, or ZEL_PARAM_XML_ERROR where the payload does not parse or has no such root.
    std::int32_t parse(Bytes payload)
    {
        m_root = {};
        if (loadXml(m_document, payload))
            m_root = requireRoot(m_document, "SrvParams");
        return m_root ? ZEL_OK : ZEL_PARAM_XML_ERROR;
    }

    pugi::xml_node root() const { return m_root; }

    /// The text of a required child of the root: 0 or ZEL_PARAM_XML_ERROR.
    std::int32_t requireText(const char* name, std::string& text) const
    {
        const pugi::xml_node child = m_root.child(name);
        if (!child)
            return ZEL_PARAM_XML_ERROR;
        text = wholeText(child);
        return ZEL_OK;
    }

    /// The number in a required child: also ZEL_UTIL_STRING_CONVERSION.
    template <class Number>
    std::int32_t requireNumber(const char* name, Number& value) const
    {
        std::string text;
        const std::int32_t result = requireText(name, text);
        return result == ZEL_OK ? parseNumber(text, value) : result;
    }

private:
    pugi::xml_document m_document;
    pugi::xml_node m_root;
};

} // namespace zel
