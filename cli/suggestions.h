#pragma once

#include <string>
#include <vector>

namespace zel::cli {

/// The candidate that the word was probably meant to be; "" when none is close.
std::string closestTo(const std::string& word, const std::vector<std::string>& candidates);

} // namespace zel::cli
