#pragma once

#include "parameter_definition.h"
#include "parameter_view.h"

#include <string>
#include <string_view>

namespace zel::simulator {

/// The schema of the document of a view.
std::string composeViewSchema(const ParameterDefinition& root, const ParameterView& view);

/// The schema of one element. It opens with the element's declaration, which carries minOccurs and
/// maxOccurs although it is a global one: hosts read from there how often the element occurs.
std::string composeSectionSchema(const ParameterDefinition& definition);

/// A style sheet that shows a document of values as a table.
std::string composeStyleSheet(std::string_view title);

} // namespace zel::simulator
