#include "schema_table.h"

#include "number_text.h"
#include "printable.h"
#include "xml_layout.h"

#include <algorithm>
#include <array>
#include <string_view>

#include <nlohmann/json.hpp>
#include <pugixml.hpp>

namespace zel::cli {

namespace {

/// A name without the prefix of its namespace, which schemas choose freely.
std::string_view localName(std::string_view name)
{
    return name.substr(name.find(':') + 1);
}

pugi::xml_node childNamed(pugi::xml_node parent, std::string_view name)
{
    return parent.find_child(
        [name](pugi::xml_node child) { return localName(child.name()) == name; });
}

std::string joined(const std::string& path, const std::string& step)
{
    return path.empty() || step.empty() ? path + step : path + "/" + step;
}

class SchemaReader {
public:
    explicit SchemaReader(pugi::xml_node schema) : m_schema(schema) {}

    std::vector<SchemaEntry> read(const std::string& rootPath)
    {
        if (localName(m_schema.name()) == "schema")
            addElement(childNamed(m_schema, "element"), rootPath, 0);
        return std::move(m_entries);
    }

private:
    static constexpr int kDeepest = 64;
    static constexpr std::size_t kMostVisits = 100000;

    /// A global definition that is referred to by its name.
    pugi::xml_node global(std::string_view kind, std::string_view name) const
    {
        return m_schema.find_child([&](pugi::xml_node child) {
            return !name.empty() && localName(child.name()) == kind &&
                   child.attribute("name").value() == localName(name);
        });
    }

    pugi::xml_node typeOf(pugi::xml_node element, std::string_view kind) const
    {
        const pugi::xml_node own = childNamed(element, kind);
        return own ? own : global(kind, element.attribute("type").value());
    }

    void addElement(pugi::xml_node element, const std::string& path, int depth)
    {
        if (!element || depth > kDeepest || ++m_visits > kMostVisits)
            return;
        if (const auto reference = element.attribute("ref"))
            return addElement(global("element", reference.value()), path, depth + 1);
        if (const auto type = typeOf(element, "complexType"))
            addContent(type, path, depth);
        else
            addValue(element, path, element);
    }

    /// What stands in a type: elements in groups of any kind, and attributes.
    void addContent(pugi::xml_node parent, const std::string& path, int depth)
    {
        if (depth > kDeepest || ++m_visits > kMostVisits)
            return;
        for (const auto child : parent.children())
            if (localName(child.name()) == "attribute")
                addAttribute(child, path);
        for (const auto child : parent.children()) {
            const std::string_view kind = localName(child.name());
            if (kind == "element") {
                addElement(child, joined(path, stepOf(child)), depth + 1);
            } else if (kind == "simpleContent") {
                const std::string_view base = child.first_child().attribute("base").value();
                m_entries.push_back({path, std::string(localName(base)), {}, {}});
                addContent(child, path, depth + 1);
            } else if (kind != "annotation" && kind != "attribute") {
                if (kind == "extension") {
                    addContent(global("complexType", child.attribute("base").value()), path,
                               depth + 1);
                }
                addContent(child, path, depth + 1);
            }
        }
    }

    void addAttribute(pugi::xml_node attribute, const std::string& path)
    {
        const std::string name = attribute.attribute("name").value();
        if (name == "choice")
            addValue(attribute, path, attribute.parent().parent());
        else if (name != "address")
            addValue(attribute, path + "/@" + name, attribute);
    }

    void addValue(pugi::xml_node value, const std::string& path, pugi::xml_node described)
    {
        SchemaEntry entry{path, std::string(localName(value.attribute("type").value())), {}, {}};
        const auto restriction = childNamed(typeOf(value, "simpleType"), "restriction");
        if (restriction)
            entry.type = localName(restriction.attribute("base").value());
        for (const auto facet : restriction.children())
            entry.facets.emplace_back(localName(facet.name()), facet.attribute("value").value());
        entry.note =
            trimmed(wholeText(childNamed(childNamed(described, "annotation"), "documentation")));
        m_entries.push_back(std::move(entry));
    }

    /// "Connector{1..8}" where the element may stand more than once.
    std::string stepOf(pugi::xml_node element) const
    {
        const auto reference = element.attribute("ref");
        const std::string name(reference ? localName(reference.value())
                                         : element.attribute("name").value());
        const std::string most = element.attribute("maxOccurs").value();
        if (most.empty() || most == "0" || most == "1")
            return name;
        std::string first = "1";
        std::string last = most == "unbounded" ? "*" : most;
        for (const auto attribute : typeOf(element, "complexType").children()) {
            const std::string_view named = attribute.attribute("name").value();
            const auto range = childNamed(childNamed(attribute, "simpleType"), "restriction");
            if (named == "address" && childNamed(range, "minInclusive")) {
                first = childNamed(range, "minInclusive").attribute("value").value();
                last = childNamed(range, "maxInclusive").attribute("value").value();
            }
        }
        return name + "{" + first + ".." + last + "}";
    }

    const pugi::xml_node m_schema;
    std::vector<SchemaEntry> m_entries;
    std::size_t m_visits = 0;
};

std::string facetOf(const SchemaEntry& entry, std::string_view name)
{
    const auto found = std::ranges::find(entry.facets, name, [](const auto& f) { return f.first; });
    return found == entry.facets.end() ? std::string{} : found->second;
}

std::vector<std::string> choicesOf(const SchemaEntry& entry)
{
    std::vector<std::string> choices;
    for (const auto& [name, value] : entry.facets)
        if (name == "enumeration")
            choices.push_back(value);
    return choices;
}

nlohmann::json numberJson(const std::string& text)
{
    if (const auto whole = wholeNumber<std::int64_t>(text))
        return *whole;
    const auto number = decimalNumber(text);
    return number ? nlohmann::json(*number) : nlohmann::json(text);
}

void append(std::string& text, const std::string& part)
{
    text += (text.empty() || part.empty() ? "" : ", ") + part;
}

} // namespace

std::vector<SchemaEntry> schemaEntries(const std::string& document, const std::string& rootPath)
{
    pugi::xml_document parsed;
    if (!parsed.load_buffer(document.data(), document.size()))
        return {};
    return SchemaReader(parsed.document_element()).read(rootPath);
}

std::string acceptedText(const SchemaEntry& entry)
{
    std::string text;
    for (const auto& choice : choicesOf(entry))
        append(text, choice);
    const std::string least = facetOf(entry, "minInclusive");
    const std::string most = facetOf(entry, "maxInclusive");
    append(text, !least.empty() && !most.empty() ? least + " to " + most
                 : !least.empty()                ? "at least " + least
                 : !most.empty()                 ? "at most " + most
                                                 : "");
    static constexpr std::array<std::array<const char*, 3>, 6> kWords{
        {{"minExclusive", "more than ", ""},
         {"maxExclusive", "less than ", ""},
         {"length", "", " characters"},
         {"minLength", "at least ", " characters"},
         {"maxLength", "at most ", " characters"},
         {"pattern", "pattern ", ""}}};
    for (const auto& [facet, before, after] : kWords) {
        const std::string value = facetOf(entry, facet);
        append(text, value.empty() ? "" : before + value + after);
    }
    append(text, entry.note);
    return text;
}

std::string typeText(const SchemaEntry& entry)
{
    static constexpr std::array<std::string_view, 3> kReal{"double", "float", "decimal"};
    if (!facetOf(entry, "enumeration").empty())
        return "choice";
    if (std::ranges::find(kReal, entry.type) != kReal.end())
        return "number";
    const std::string_view type = entry.type;
    const bool isWhole = type.ends_with("nteger") || type.ends_with("nt") ||
                         type.ends_with("ong") || type.ends_with("hort") || type.ends_with("yte");
    return isWhole ? "whole number" : type == "string" || type.empty() ? "text" : entry.type;
}

nlohmann::json schemaJson(const SchemaEntry& entry)
{
    nlohmann::json json{{"path", entry.path}, {"type", entry.type}};
    for (const char* name : {"minInclusive", "maxInclusive", "minExclusive", "maxExclusive",
                             "length", "minLength", "maxLength", "pattern"}) {
        if (const std::string value = facetOf(entry, name); !value.empty()) {
            json[name] =
                name == std::string_view("pattern") ? nlohmann::json(value) : numberJson(value);
        }
    }
    if (const auto choices = choicesOf(entry); !choices.empty())
        json["choices"] = choices;
    if (!entry.note.empty())
        json["note"] = entry.note;
    return json;
}

} // namespace zel::cli
