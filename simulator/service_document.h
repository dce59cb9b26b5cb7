#pragma once

#include "method_call.h"

#include <charconv>
#include <cmath>
#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>

#include <pugixml.hpp>

namespace zel::simulator {

/// The document of a request: SrvParams with one element for each parameter. Looking for a
/// parameter that is missing or not of its kind marks the request as bad; a method asks once,
/// after it has read all that it needs.
class ServiceRequest {
public:
    explicit ServiceRequest(std::string_view text);
    /// One of several alike elements of a request, which lives as long.
    explicit ServiceRequest(pugi::xml_node element) : m_params(element) {}

    std::string text(const char* name);
    template <std::unsigned_integral Number = std::uint32_t>
    Number number(const char* name)
    {
        Number value = 0;
        if (!readNumber(text(name), value))
            fail(name);
        return value;
    }
    std::int32_t signedNumber(const char* name)
    {
        std::int32_t value = 0;
        if (!readNumber(text(name), value))
            fail(name);
        return value;
    }
    double real(const char* name)
    {
        double value = 0;
        if (!readNumber(text(name), value) || !std::isfinite(value))
            fail(name);
        return value;
    }
    bool has(const char* name) const { return static_cast<bool>(m_params.child(name)); }

    auto elements(const char* name) const { return m_params.children(name); }

    bool isGood() const { return m_failure.empty(); }
    /// What the module answers to a bad request.
    Outcome failure() const;

private:
    template <class Number>
    static bool readNumber(std::string_view digits, Number& value)
    {
        const auto [end, error] =
            std::from_chars(digits.data(), digits.data() + digits.size(), value);
        return error == std::errc{} && end == digits.data() + digits.size();
    }
    void fail(const std::string& name);

    pugi::xml_document m_document;
    pugi::xml_node m_params;
    std::string m_failure;
};

/// The document of an answer: SrvParams, filled by the method.
class ServiceAnswer {
public:
    ServiceAnswer() : m_params(m_document.append_child("SrvParams")) {}

    pugi::xml_node params() { return m_params; }
    ServiceAnswer& add(const char* name, std::string_view text);
    ServiceAnswer& add(const char* name, std::uint64_t number);
    Outcome outcome() const;

private:
    pugi::xml_document m_document;
    pugi::xml_node m_params;
};

} // namespace zel::simulator
