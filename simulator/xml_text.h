#pragma once

#include <string>
#include <string_view>

#include <pugixml.hpp>

namespace zel::simulator {

inline constexpr std::string_view kXmlDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";

/// A document as the module writes it: the declaration, then the elements without white space.
std::string toText(const pugi::xml_document& document);

/// Appends an element that holds a text.
pugi::xml_node appendText(pugi::xml_node parent, const char* name, std::string_view text);

} // namespace zel::simulator
