#include "pugi_xml_composer.h"

#include "xml_building.h"
#include "xml_characters.h"
#include "ZEL_VR_Framework.h"

namespace zel {

namespace {

bool isEmpty(const char* name)
{
    return name == nullptr || *name == '\0';
}

} // namespace

std::int32_t PugiXmlComposer::openElement(const char* name)
{
    if (isEmpty(name))
        return ZEL_XML_TAG_NOT_DEFINED;
    m_current = appendElement(m_current, name);
    return added();
}

std::int32_t PugiXmlComposer::closeElement()
{
    const pugi::xml_node parent = m_current.parent();
    if (!parent)
        return ZEL_FAILED;
    m_current = parent;
    return ZEL_OK;
}

std::int32_t PugiXmlComposer::reset()
{
    m_document.reset();
    m_current = m_document;
    return ZEL_OK;
}

std::int32_t PugiXmlComposer::addText(const char* text)
{
    if (text == nullptr)
        return ZEL_OK;
    if (isOutside())
        return ZEL_FAILED;
    appendText(m_current, xmlText(text).c_str());
    return added();
}

std::int32_t PugiXmlComposer::addAttribute(const char* name, const char* value)
{
    if (name == nullptr || value == nullptr || isOutside())
        return ZEL_FAILED;
    appendAttribute(m_current, name, xmlText(value).c_str());
    return added();
}

std::int32_t PugiXmlComposer::addElement(const char* name, const char* value)
{
    if (value == nullptr)
        return ZEL_FAILED;
    if (isEmpty(name))
        return ZEL_XML_TAG_NOT_DEFINED;
    appendText(appendElement(m_current, name), xmlText(value).c_str());
    return added();
}

std::int32_t PugiXmlComposer::addComment(const std::string& text)
{
    appendText(m_current, xmlText(text).c_str(), pugi::node_comment);
    return added();
}

void PugiXmlComposer::saveDocument(pugi::xml_writer& writer) const
{
    m_document.save(writer, " ", pugi::format_raw, pugi::encoding_auto);
}

bool PugiXmlComposer::isOutside() const
{
    return m_current.type() == pugi::node_document;
}

std::int32_t PugiXmlComposer::added()
{
    countItem();
    return ZEL_OK;
}

} // namespace zel
