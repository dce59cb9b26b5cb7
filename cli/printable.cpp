#include "printable.h"

#include <algorithm>

#include "number_text.h"

namespace zel::cli {

namespace {

bool isContinuation(char c)
{
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

} // namespace

std::string printable(std::string_view text, bool keepLines)
{
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const bool isLayout = byte == '\n' || byte == '\t';
        // U+0080 to U+009F, which some terminals obey like an escape sequence.
        const bool isHighControl =
            byte == 0xC2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xA0;
        if (isHighControl) {
            result += "\\x" + hexDigits(text.substr(++i, 1));
        } else if ((byte < 0x20 && !(isLayout && keepLines)) || byte == 0x7F) {
            result += "\\x" + hexDigits(text.substr(i, 1));
        } else {
            result += text[i];
        }
    }
    return result;
}

std::string trimmed(std::string_view text)
{
    static constexpr auto kBlanks = " \t\r\n";
    const auto first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return std::string(text.substr(first, text.find_last_not_of(kBlanks) - first + 1));
}

std::size_t columns(std::string_view text)
{
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return !isContinuation(c); }));
}

} // namespace zel::cli
