#pragma once

#include "byte_cursor.h"

#include <string>

#include <pugixml.hpp>

namespace zel {

// Every document of a module or a caller is parsed here, so that the reason for the last failure
// can be told.

/// Parses the text as UTF-8 unless it says otherwise; false, with the reason noted, where it is no
/// document or longer than 16 MiB.
bool loadXml(pugi::xml_document& document, Bytes text, unsigned options = pugi::parse_default);

/// The document's root; null, with the reason noted, where it has another name.
pugi::xml_node requireRoot(const pugi::xml_document& document, const char* name);

/// The whole text of an element, also where comments or CDATA sections split it; without that of
/// its child elements.
std::string wholeText(const pugi::xml_node& element);

/// What was wrong with the last document that failed, and at which byte; empty before the first.
/// Always at the same address; any failure, on any thread, replaces the text.
const char* lastXmlError();

} // namespace zel
