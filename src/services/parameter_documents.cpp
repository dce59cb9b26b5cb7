#include "parameter_documents.h"

#include "hexadecimal_text.h"
#include "response_document.h"

#include <algorithm>
#include <limits>

namespace zel::parameters {

namespace {

std::int32_t decodeHexadecimal(std::string_view text, char* data)
{
    for (std::size_t at = 0; at + 1 < text.size(); at += 2) {
        const unsigned high = hexadecimalDigit(text[at]);
        const unsigned low = hexadecimalDigit(text[at + 1]);
        if (high == kNoDigit || low == kNoDigit)
            return ZEL_UTIL_STRING_CONVERSION;
        data[at / 2] = static_cast<char>(high << 4 | low);
    }
    return ZEL_OK;
}

} // namespace

std::int32_t countConnectors(Bytes section)
{
    pugi::xml_document document;
    if (!loadXml(document, section))
        return 0;
    const pugi::xml_node amplifier = document.find_node(
        [](const pugi::xml_node& node) { return std::string_view(node.name()) == "Amplifier"; });
    std::int32_t count = 0;
    for (const pugi::xml_node& child : amplifier.children())
        if (child.type() == pugi::node_element && count < std::numeric_limits<std::int32_t>::max())
            ++count;
    return count;
}

std::int32_t maxOccurs(Bytes schema)
{
    pugi::xml_document document;
    if (!loadXml(document, schema))
        return 0;
    const pugi::xml_node element = document.first_child().first_child();
    return std::max(0, numberOrZero<std::int32_t>(element.attribute("maxOccurs").value()));
}

std::int32_t TedsAnswer::readData(Bytes payload, char* data, std::uint64_t capacity)
{
    clResponseDocument response;
    std::string identifierText;
    std::string digits;
    if (response.parse(payload) != ZEL_OK ||
        response.requireText("Tid", identifierText) != ZEL_OK ||
        response.requireText("BinData", digits) != ZEL_OK)
        return ZEL_PARAM_XML_ERROR;
    std::uint64_t number = 0;
    const std::int32_t result = parseNumber(identifierText, number);
    if (result != ZEL_OK)
        return result;
    if (digits.size() % 2 != 0)
        return ZEL_UTIL_STRING_CONVERSION;
    size = digits.size() / 2;
    if (size > capacity)
        return ZEL_SRV_BUFFER_TOO_SMALL;
    identifier = number;
    return decodeHexadecimal(digits, data);
}

std::int32_t TedsAnswer::readIdentifier(Bytes payload)
{
    clResponseDocument response;
    const std::int32_t result = response.parse(payload);
    return result == ZEL_OK ? response.requireNumber("Tid", identifier) : result;
}

std::array<char, kTedsIdentifierSize> tedsIdentifierText(std::uint64_t identifier)
{
    std::array<std::byte, 8> bytes{};
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<std::byte>(identifier >> (8 * i) & 0xFF);
    std::string digits;
    appendHexadecimal(digits, bytes);
    std::array<char, kTedsIdentifierSize> text{};
    std::copy(digits.begin(), digits.end(), text.begin());
    return text;
}

Bytes withoutPadding(Bytes image)
{
    while (!image.empty() && image.back() == std::byte{0})
        image = image.first(image.size() - 1);
    return image;
}

} // namespace zel::parameters
