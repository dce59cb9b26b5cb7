#pragma once

#include "number_format.h"
#include "xml_composer.h"

#include <string>

#include <pugixml.hpp>

namespace zel {

/// What the composers share that build a pugixml document. Texts, values and comments may hold
/// anything: what XML cannot carry is replaced.
class PugiXmlComposer : public XmlComposer {
public:
    std::int32_t openElement(const char* name) override;
    std::int32_t closeElement() override;
    std::int32_t reset() override;

    std::int32_t addText(const std::string& text) override { return addText(text.c_str()); }
    std::int32_t addText(double value) override
    {
        return addText(formatFixed(value, kTextDecimals));
    }
    std::int32_t addText(std::uint64_t value) override { return addText(std::to_string(value)); }
    std::int32_t addText(std::uint32_t value) override { return addText(std::to_string(value)); }
    std::int32_t addText(std::int32_t value) override { return addText(std::to_string(value)); }
    std::int32_t addText(const char* text) override;

    std::int32_t addAttribute(const char* name, const std::string& value) override
    {
        return addAttribute(name, value.c_str());
    }
    std::int32_t addAttribute(const char* name, std::uint64_t value) override
    {
        return addAttribute(name, std::to_string(value));
    }
    std::int32_t addAttribute(const char* name, std::uint32_t value) override
    {
        return addAttribute(name, std::to_string(value));
    }
    std::int32_t addAttribute(const char* name, std::int32_t value) override
    {
        return addAttribute(name, std::to_string(value));
    }
    std::int32_t addAttribute(const char* name, double value) override
    {
        return addAttribute(name, formatParameterDouble(value));
    }
    std::int32_t addAttribute(const char* name, const char* value) override;

    std::int32_t addElement(const char* name, std::uint32_t value) override
    {
        return addElement(name, std::to_string(value));
    }
    std::int32_t addElement(const char* name, std::int32_t value) override
    {
        return addElement(name, std::to_string(value));
    }
    std::int32_t addElement(const char* name, const std::string& value) override
    {
        return addElement(name, value.c_str());
    }
    std::int32_t addElement(const char* name, const char* value) override;

    std::int32_t addComment(const std::string& text) override;

protected:
    /// Unindented, with the declaration.
    void saveDocument(pugi::xml_writer& writer) const;

private:
    static constexpr unsigned kTextDecimals = 9;

    /// Called once for everything that was added.
    virtual void countItem() {}

    /// Nothing is written yet, or the root is closed: texts and attributes have no place.
    bool isOutside() const;
    std::int32_t added();

    pugi::xml_document m_document;
    pugi::xml_node m_current = m_document;
};

} // namespace zel
