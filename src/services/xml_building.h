#pragma once

#include <new>

#include <pugixml.hpp>

namespace zel {

// pugixml leaves out what it has no memory for, and only some of its functions tell by a result.
// These throw std::bad_alloc.

inline pugi::xml_node appendElement(pugi::xml_node parent, const char* name)
{
    pugi::xml_node element = parent.append_child(pugi::node_element);
    if (!element.set_name(name))
        throw std::bad_alloc{};
    return element;
}

inline void appendText(pugi::xml_node parent, const char* text,
                       pugi::xml_node_type type = pugi::node_pcdata)
{
    if (!parent.append_child(type).set_value(text))
        throw std::bad_alloc{};
}

inline void appendAttribute(pugi::xml_node element, const char* name, const char* value)
{
    pugi::xml_attribute attribute = element.append_attribute("");
    if (!attribute.set_name(name) || !attribute.set_value(value))
        throw std::bad_alloc{};
}

} // namespace zel
