#pragma once

#include <string>
#include <string_view>

#include <pugixml.hpp>

namespace zel::cli {

/// The document with each element on a line of its own, indented, for people. Modules send theirs
/// without a line end. What does not look like a document comes back as it is.
std::string indentedXml(std::string_view document);

/// An element's text, also where comments stand in it or CDATA sections are a part of it.
std::string wholeText(pugi::xml_node element);

} // namespace zel::cli
