#include "request_document.h"

#include "hexadecimal_text.h"
#include "number_format.h"
#include "xml_escape.h"

#include <array>
#include <charconv>
#include <utility>

namespace zel {

namespace {

constexpr std::string_view kRoot = "SrvParams";

} // namespace

clRequestDocument::clRequestDocument() : m_text(kXmlDeclaration)
{
    open(kRoot);
}

clRequestDocument& clRequestDocument::addNumber(std::string_view name, std::uint64_t value)
{
    std::array<char, 20> digits{};
    const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), value);
    open(name);
    m_text.append(digits.data(), written.ptr);
    return close(name);
}

clRequestDocument& clRequestDocument::addFlag(std::string_view name, bool value)
{
    return addVerbatim(name, value ? "1" : "0");
}

clRequestDocument& clRequestDocument::addDouble(std::string_view name, double value)
{
    return addVerbatim(name, formatParameterDouble(value));
}

clRequestDocument& clRequestDocument::addText(std::string_view name, std::string_view text)
{
    open(name);
    appendXmlEscaped(m_text, text);
    return close(name);
}

clRequestDocument& clRequestDocument::addVerbatim(std::string_view name, std::string_view text)
{
    open(name);
    m_text.append(text);
    return close(name);
}

clRequestDocument& clRequestDocument::addHexadecimal(std::string_view name, Bytes data)
{
    open(name);
    appendHexadecimal(m_text, data);
    return close(name);
}

std::string clRequestDocument::take()
{
    close(kRoot);
    return std::move(m_text);
}

void clRequestDocument::open(std::string_view name)
{
    m_text.append(1, '<').append(name).append(1, '>');
}

clRequestDocument& clRequestDocument::close(std::string_view name)
{
    m_text.append("</").append(name).append(1, '>');
    return *this;
}

} // namespace zel
