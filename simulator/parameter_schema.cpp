#include "parameter_schema.h"

#include "number_forms.h"
#include "xml_text.h"

#include <utility>

namespace zel::simulator {

namespace {

using Kind = ParameterDefinition::Kind;
using Names = std::vector<std::string_view>;

void appendFacet(pugi::xml_node restriction, const char* name, const std::string& value)
{
    restriction.append_child(name).append_attribute("value").set_value(value.c_str());
}

void appendChoices(pugi::xml_node parent, const std::vector<std::string>& choices)
{
    pugi::xml_node restriction =
        parent.append_child("xs:simpleType").append_child("xs:restriction");
    restriction.append_attribute("base").set_value("xs:string");
    for (const std::string& choice : choices)
        appendFacet(restriction, "xs:enumeration", choice);
}

void appendRestriction(pugi::xml_node element, const ParameterDefinition& definition)
{
    if (definition.kind == Kind::enumeration)
        return appendChoices(element, definition.choices);
    pugi::xml_node restriction =
        element.append_child("xs:simpleType").append_child("xs:restriction");
    pugi::xml_attribute base = restriction.append_attribute("base");
    switch (definition.kind) {
    case Kind::integer:
    case Kind::real:
        base.set_value(definition.kind == Kind::integer ? "xs:integer" : "xs:double");
        appendFacet(restriction, "xs:minInclusive", plainNumber(definition.minimum));
        appendFacet(restriction, "xs:maxInclusive", plainNumber(definition.maximum));
        return;
    case Kind::ipAddress:
        base.set_value("xs:string");
        return appendFacet(restriction, "xs:pattern", "\\d{1,3}(\\.\\d{1,3}){3}");
    case Kind::hexadecimal:
        base.set_value("xs:string");
        return appendFacet(restriction, "xs:pattern", "(0x)?[0-9a-fA-F]{1,16}");
    default:
        base.set_value("xs:string");
        appendFacet(restriction, "xs:maxLength", std::to_string(definition.longest));
    }
}

class SchemaComposer {
public:
    explicit SchemaComposer(const ParameterView* view) : m_view(view) {}

    void appendElement(pugi::xml_node parent, const ParameterDefinition& definition, Names names,
                       bool isOptional)
    {
        pugi::xml_node element = parent.append_child("xs:element");
        element.append_attribute("name").set_value(definition.name.c_str());
        if (!isRootOfView(names)) {
            const unsigned least = isOptional ? 0 : definition.count;
            element.append_attribute("minOccurs").set_value(least);
            element.append_attribute("maxOccurs").set_value(definition.count);
        }
        if (definition.isReadOnly)
            appendText(element.append_child("xs:annotation"), "xs:documentation", "read only");
        if (definition.hasChildren())
            appendContent(element.append_child("xs:complexType"), definition, std::move(names));
        else
            appendRestriction(element, definition);
    }

private:
    bool isRootOfView(const Names& names) const { return m_view != nullptr && names.empty(); }

    void appendContent(pugi::xml_node type, const ParameterDefinition& definition, Names names)
    {
        pugi::xml_node sequence = type.append_child("xs:sequence");
        for (const ParameterDefinition& child : definition.children) {
            names.push_back(child.name);
            if (m_view == nullptr || m_view->shows(names))
                appendElement(sequence, child, names, definition.kind == Kind::alternative);
            names.pop_back();
        }
        if (definition.isAddressed) {
            pugi::xml_node attribute = type.append_child("xs:attribute");
            attribute.append_attribute("name").set_value("address");
            attribute.append_attribute("use").set_value("required");
            pugi::xml_node restriction =
                attribute.append_child("xs:simpleType").append_child("xs:restriction");
            restriction.append_attribute("base").set_value("xs:unsignedInt");
            const unsigned first = definition.firstAddress;
            appendFacet(restriction, "xs:minInclusive", std::to_string(first));
            appendFacet(restriction, "xs:maxInclusive",
                        std::to_string(first + definition.count - 1));
        }
        if (definition.kind == Kind::alternative) {
            pugi::xml_node attribute = type.append_child("xs:attribute");
            attribute.append_attribute("name").set_value("choice");
            attribute.append_attribute("use").set_value("required");
            appendChoices(attribute, definition.choices);
        }
    }

    const ParameterView* m_view;
};

std::string composeSchema(const ParameterDefinition& definition, const ParameterView* view)
{
    pugi::xml_document document;
    pugi::xml_node schema = document.append_child("xs:schema");
    schema.append_attribute("xmlns:xs").set_value("http://www.w3.org/2001/XMLSchema");
    SchemaComposer{view}.appendElement(schema, definition, {}, false);
    return toText(document);
}

} // namespace

std::string composeViewSchema(const ParameterDefinition& root, const ParameterView& view)
{
    return composeSchema(root, &view);
}

std::string composeSectionSchema(const ParameterDefinition& definition)
{
    return composeSchema(definition, nullptr);
}

std::string composeStyleSheet(std::string_view title)
{
    static constexpr std::string_view kHead =
        "<xsl:stylesheet version=\"1.0\" xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\">"
        "<xsl:output method=\"html\" encoding=\"UTF-8\"/>"
        "<xsl:template match=\"/\"><html><head><title>";
    static constexpr std::string_view kTail =
        "</title></head><body><table><xsl:apply-templates select=\"*\"/></table></body></html>"
        "</xsl:template>"
        "<xsl:template match=\"*[*]\"><tr><th colspan=\"2\"><xsl:value-of select=\"name()\"/>"
        "<xsl:text> </xsl:text><xsl:value-of select=\"@address\"/>"
        "<xsl:value-of select=\"@choice\"/></th></tr><xsl:apply-templates select=\"*\"/>"
        "</xsl:template>"
        "<xsl:template match=\"*\"><tr><td><xsl:value-of select=\"name()\"/></td>"
        "<td><xsl:value-of select=\".\"/></td></tr></xsl:template></xsl:stylesheet>";
    std::string sheet{kXmlDeclaration};
    sheet.append(kHead).append(title).append(kTail);
    return sheet;
}

} // namespace zel::simulator
