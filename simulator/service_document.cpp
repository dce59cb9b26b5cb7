#include "service_document.h"

#include "module_codes.h"
#include "xml_text.h"

namespace zel::simulator {

ServiceRequest::ServiceRequest(std::string_view text)
{
    const auto parsed = m_document.load_buffer(text.data(), text.size());
    if (!parsed)
        m_failure = std::string{"the request is not XML: "} + parsed.description();
    m_params = m_document.child("SrvParams");
    if (parsed && !m_params)
        m_failure = "the request has no SrvParams";
}

std::string ServiceRequest::text(const char* name)
{
    const pugi::xml_node element = m_params.child(name);
    if (!element)
        fail(name);
    return element.text().get();
}

void ServiceRequest::fail(const std::string& name)
{
    if (m_failure.empty())
        m_failure = "the request's " + name + " is missing or not as it should be";
}

Outcome ServiceRequest::failure() const
{
    return {m_params ? kInvalidParameters : kXmlError, m_failure};
}

ServiceAnswer& ServiceAnswer::add(const char* name, std::string_view text)
{
    appendText(m_params, name, text);
    return *this;
}

ServiceAnswer& ServiceAnswer::add(const char* name, std::uint64_t number)
{
    return add(name, std::to_string(number));
}

Outcome ServiceAnswer::outcome() const
{
    return {0, toText(m_document)};
}

} // namespace zel::simulator
