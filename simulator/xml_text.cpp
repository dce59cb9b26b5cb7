#include "xml_text.h"

namespace zel::simulator {

namespace {

class StringWriter : public pugi::xml_writer {
public:
    explicit StringWriter(std::string& text) : m_text(text) {}
    void write(const void* data, size_t size) override
    {
        m_text.append(static_cast<const char*>(data), size);
    }

private:
    std::string& m_text;
};

} // namespace

std::string toText(const pugi::xml_document& document)
{
    std::string text{kXmlDeclaration};
    StringWriter writer{text};
    document.save(writer, "", pugi::format_raw | pugi::format_no_declaration, pugi::encoding_utf8);
    return text;
}

pugi::xml_node appendText(pugi::xml_node parent, const char* name, std::string_view text)
{
    pugi::xml_node element = parent.append_child(name);
    element.text().set(std::string{text}.c_str());
    return element;
}

} // namespace zel::simulator
