#include "record_documents.h"

#include "hexadecimal_text.h"
#include "number_format.h"
#include "pugi_xml_buffer_composer.h"
#include "units.h"
#include "xml_characters.h"
#include "xml_loading.h"
#include "ZEL_VR_Framework.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string>

namespace zel {

namespace {

// Line ends and blanks of a text stay as they are.
constexpr unsigned kLossless =
    pugi::parse_cdata | pugi::parse_escapes | pugi::parse_ws_pcdata_single;

template <class Value>
Value valueAt(const void* record, std::size_t offset)
{
    Value value{};
    std::memcpy(&value, static_cast<const char*>(record) + offset, sizeof value);
    return value;
}

template <class Value>
void setValueAt(void* record, std::size_t offset, const Value& value)
{
    std::memcpy(static_cast<char*>(record) + offset, &value, sizeof value);
}

// ---- to the document

/// As few digits as bring the same number back.
std::string realText(double value)
{
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value);
    return {digits.data(), end.ptr};
}

std::int32_t addReal(XmlComposer& composer, const char* name, double value)
{
    return std::isfinite(value) ? composer.addElement(name, realText(value))
                                : ZEL_SRV_INVALID_PARAMETERS;
}

std::int32_t addRange(XmlComposer& composer, const char* name, const ZEL_Range& range)
{
    composer.openElement(name);
    std::int32_t result = addReal(composer, "Minimum", range.minimum);
    if (result == ZEL_OK)
        result = addReal(composer, "Maximum", range.maximum);
    composer.closeElement();
    return result;
}

std::int32_t addUnit(XmlComposer& composer, const char* name, std::uint32_t code)
{
    if (code == 0)
        return ZEL_OK;
    const Unit* const unit = findUnit(code);
    return unit == nullptr ? ZEL_UNIT_NOT_FOUND : composer.addElement(name, unit->name);
}

std::int32_t addText(XmlComposer& composer, const RecordField& field, const char* text)
{
    // A text that the document cannot carry would not come back as it is.
    if (std::memchr(text, '\0', field.size) == nullptr || !isXmlText(text))
        return ZEL_SRV_INVALID_PARAMETERS;
    return composer.addElement(field.name, text);
}

std::int32_t addField(XmlComposer& composer, const RecordField& field, const void* record)
{
    const auto number = [&] { return valueAt<std::uint32_t>(record, field.offset); };
    switch (field.kind) {
    case FieldKind::address:
        return composer.addAttribute(field.name, number());
    case FieldKind::text:
        return addText(composer, field, static_cast<const char*>(record) + field.offset);
    case FieldKind::number:
        return composer.addElement(field.name, number());
    case FieldKind::hexadecimal:
        return composer.addElement(field.name, "0x" + hexadecimalText(number()));
    case FieldKind::number64:
        return composer.addElement(field.name,
                                   std::to_string(valueAt<std::uint64_t>(record, field.offset)));
    case FieldKind::real:
        return addReal(composer, field.name, valueAt<double>(record, field.offset));
    case FieldKind::range:
        return addRange(composer, field.name, valueAt<ZEL_Range>(record, field.offset));
    case FieldKind::unit:
        return addUnit(composer, field.name, number());
    case FieldKind::choice:
        return number() < field.words.size()
                   ? composer.addElement(field.name, field.words[number()])
                   : ZEL_SRV_INVALID_PARAMETERS;
    }
    return ZEL_FAILED;
}

std::int32_t addFields(XmlComposer& composer, const RecordLayout& layout, const void* record)
{
    composer.openElement(layout.root);
    for (const RecordField& field : layout.fields)
        if (const std::int32_t result = addField(composer, field, record); result != ZEL_OK)
            return result;
    composer.closeElement();
    return layout.check == nullptr ? ZEL_OK : layout.check(record);
}

// ---- from the document

/// Sets the field to what `read(value)` makes of a zero.
template <class Value, class Read>
std::int32_t readInto(void* record, const RecordField& field, Read&& read)
{
    Value value{};
    const std::int32_t result = read(value);
    setValueAt(record, field.offset, value);
    return result;
}

std::int32_t readReal(std::string_view text, double& value)
{
    const std::int32_t result = parseNumber(text, value);
    return result == ZEL_OK && !std::isfinite(value) ? ZEL_UTIL_STRING_CONVERSION : result;
}

std::int32_t readRange(const pugi::xml_node& node, ZEL_Range& range)
{
    std::int32_t result = ZEL_OK;
    if (const pugi::xml_node minimum = node.child("Minimum"))
        result = readReal(wholeText(minimum), range.minimum);
    if (const pugi::xml_node maximum = node.child("Maximum"); maximum && result == ZEL_OK)
        result = readReal(wholeText(maximum), range.maximum);
    return result;
}

std::int32_t readText(const std::string& text, const RecordField& field, void* record)
{
    if (text.size() >= field.size || !isXmlText(text))
        return ZEL_SRV_INVALID_PARAMETERS;
    std::memcpy(static_cast<char*>(record) + field.offset, text.data(), text.size());
    return ZEL_OK;
}

std::int32_t readUnit(std::string_view name, std::uint32_t& code)
{
    if (name.empty())
        return ZEL_OK;
    const Unit* const unit = findUnit(name);
    if (unit == nullptr)
        return ZEL_UNIT_NOT_FOUND;
    code = unit->code;
    return ZEL_OK;
}

std::int32_t readChoice(std::string_view word, const RecordField& field, void* record)
{
    const auto found = std::ranges::find(field.words, word);
    if (found == field.words.end())
        return ZEL_SRV_INVALID_PARAMETERS;
    setValueAt(record, field.offset, static_cast<std::uint32_t>(found - field.words.begin()));
    return ZEL_OK;
}

/// What is missing leaves the field as it is.
std::int32_t readField(const pugi::xml_node& root, const RecordField& field, void* record)
{
    const pugi::xml_attribute attribute = root.attribute(field.name);
    const pugi::xml_node node = root.child(field.name);
    const bool isAttribute = field.kind == FieldKind::address;
    if (isAttribute ? attribute.empty() : node.empty())
        return ZEL_OK;
    const std::string text = isAttribute ? attribute.value() : wholeText(node);
    const auto toNumber = [&](auto& value) { return parseNumber(text, value); };
    switch (field.kind) {
    case FieldKind::address:
    case FieldKind::number:
    case FieldKind::hexadecimal:
        return readInto<std::uint32_t>(record, field, toNumber);
    case FieldKind::number64:
        return readInto<std::uint64_t>(record, field, toNumber);
    case FieldKind::text:
        return readText(text, field, record);
    case FieldKind::choice:
        return readChoice(text, field, record);
    case FieldKind::real:
        return readInto<double>(record, field, [&](double& real) { return readReal(text, real); });
    case FieldKind::range:
        return readInto<ZEL_Range>(record, field,
                                   [&](ZEL_Range& range) { return readRange(node, range); });
    case FieldKind::unit:
        return readInto<std::uint32_t>(record, field,
                                       [&](std::uint32_t& code) { return readUnit(text, code); });
    }
    return ZEL_FAILED;
}

std::int32_t readFields(const pugi::xml_node& root, const RecordLayout& layout, void* record)
{
    for (const RecordField& field : layout.fields)
        if (const std::int32_t result = readField(root, field, record); result != ZEL_OK)
            return result;
    return layout.check == nullptr ? ZEL_OK : layout.check(record);
}

} // namespace

std::int32_t composeRecord(const RecordLayout& layout, const void* record, const TextBuffer& buffer)
{
    *buffer.length = 0;
    *buffer.data = '\0';
    PugiXmlBufferComposer composer{buffer.data, buffer.capacity};
    const std::int32_t result = addFields(composer, layout, record);
    return result == ZEL_OK ? composer.save(buffer.length) : result;
}

std::int32_t parseRecord(const RecordLayout& layout, std::string_view document, void* record)
{
    std::memset(record, 0, layout.size);
    pugi::xml_document parsed;
    if (!loadXml(parsed, asBytes(document.data(), document.size()), kLossless))
        return ZEL_PARAM_XML_ERROR;
    const pugi::xml_node root = requireRoot(parsed, layout.root);
    if (!root)
        return ZEL_PARAM_XML_ERROR;
    const std::int32_t result = readFields(root, layout, record);
    if (result != ZEL_OK)
        std::memset(record, 0, layout.size);
    return result;
}

} // namespace zel
