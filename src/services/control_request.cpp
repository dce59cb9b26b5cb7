#include "control_request.h"

#include "request_document.h"
#include "xml_building.h"
#include "xml_escape.h"

#include <utility>

namespace zel {

namespace {

class StringWriter : public pugi::xml_writer {
public:
    explicit StringWriter(std::string& out) : m_out(out) {}
    void write(const void* data, std::size_t size) override
    {
        m_out.append(static_cast<const char*>(data), size);
    }

private:
    std::string& m_out;
};

} // namespace

clControlParameters& clControlParameters::add(std::string_view text)
{
    if (m_count == 0)
        m_text.append(kXmlDeclaration).append("<ControlParams>");
    const std::string name = "Par" + std::to_string(++m_count);
    m_text.append(1, '<').append(name).append(1, '>');
    appendXmlEscaped(m_text, text);
    m_text.append("</").append(name).append(1, '>');
    return *this;
}

clControlParameters& clControlParameters::add(std::uint64_t number)
{
    return add(std::string_view(std::to_string(number)));
}

std::string clControlParameters::take()
{
    if (m_count > 0)
        m_text.append("</ControlParams>");
    return std::move(m_text);
}

std::string controlRequest(const char* control, const char* parameterDocument)
{
    pugi::xml_document document;
    const pugi::xml_node root = appendElement(document, "SrvParams");
    appendText(appendElement(root, "Control"), control);
    if (*parameterDocument != '\0')
        appendText(appendElement(root, "ControlParams"), parameterDocument);

    std::string text;
    StringWriter writer(text);
    document.save(writer, "\t", pugi::format_indent, pugi::encoding_auto);
    return text;
}

} // namespace zel
