#include "control_request.h"

#include "request_document.h"
#include "xml_escape.h"

#include <pugixml.hpp>
#include <stdexcept>
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

void appendTextElement(pugi::xml_node parent, const char* name, const char* text)
{
    pugi::xml_node element = parent.append_child(name);
    // The XML library reports what it has no memory for by its result alone.
    if (!element.append_child(pugi::node_pcdata).set_value(text))
        throw std::runtime_error("no memory for a control request");
}

} // namespace

ControlParameters& ControlParameters::add(std::string_view text)
{
    if (m_count == 0)
        m_text.append(kXmlDeclaration).append("<ControlParams>");
    const std::string name = "Par" + std::to_string(++m_count);
    m_text.append(1, '<').append(name).append(1, '>');
    appendXmlEscaped(m_text, text);
    m_text.append("</").append(name).append(1, '>');
    return *this;
}

ControlParameters& ControlParameters::add(std::uint64_t number)
{
    return add(std::string_view(std::to_string(number)));
}

std::string ControlParameters::take()
{
    if (m_count > 0)
        m_text.append("</ControlParams>");
    return std::move(m_text);
}

std::string controlRequest(const char* control, const char* parameterDocument)
{
    pugi::xml_document document;
    const pugi::xml_node root = document.append_child("SrvParams");
    appendTextElement(root, "Control", control);
    if (*parameterDocument != '\0')
        appendTextElement(root, "ControlParams", parameterDocument);

    std::string text;
    StringWriter writer(text);
    document.save(writer, "\t", pugi::format_indent, pugi::encoding_auto);
    return text;
}

} // namespace zel
