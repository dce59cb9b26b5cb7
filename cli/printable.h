#pragma once

#include <string>
#include <string_view>

namespace zel::cli {

/// The text with control characters, and bytes that are no UTF-8, made visible: what a module sends
/// must not steer the terminal of the person who reads it. Tabs and line ends stay where keepLines
/// says so.
std::string printable(std::string_view text, bool keepLines = false);

/// Without blanks and line ends around it.
std::string trimmed(std::string_view text);

/// How many columns the text takes: UTF-8 characters, not bytes.
std::size_t columns(std::string_view text);

/// The beginning of the text that takes no more columns.
std::string_view firstColumns(std::string_view text, std::size_t most);

} // namespace zel::cli
