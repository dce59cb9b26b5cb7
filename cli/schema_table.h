#pragma once

#include "text_table.h"

#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace zel::cli {

/// One parameter of a schema and what it accepts.
struct SchemaEntry {
    std::string path; ///< "Connector{1..8}/Name": the element stands there eight times
    std::string type; ///< the schema's own word: "double", "string"
    std::vector<std::pair<std::string, std::string>> facets; ///< "minInclusive" and the like
    std::string note;                                        ///< what the schema says in words
};

/// The parameters of a schema document, with the root element under this path; empty for a
/// document that is no schema. A module's schema may be as deep and as large as it likes: what goes
/// beyond all reason is left out.
std::vector<SchemaEntry> schemaEntries(const std::string& document, const std::string& rootPath);

/// "0.1 to 100", "Off, On", "at most 64 characters".
std::string acceptedText(const SchemaEntry& entry);

/// "number", "whole number", "text", "choice".
std::string typeText(const SchemaEntry& entry);

/// The facets under the schema's own words, numbers as numbers.
nlohmann::json schemaJson(const SchemaEntry& entry);

} // namespace zel::cli
