#include "printable.h"

#include "number_text.h"

#include <algorithm>

namespace zel::cli {

namespace {

bool isContinuation(char c)
{
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

bool isControl(char c)
{
    return (c >= 0 && c < ' ') || c == '\x7F';
}

/// How many bytes the UTF-8 character takes that the text begins with; 0 when it is none. A lone
/// byte above 0x7F is not harmless: terminals obey 0x9B as they do an escape sequence.
std::size_t lengthOfCharacter(std::string_view text)
{
    const auto first = static_cast<unsigned char>(text[0]);
    if (first < 0x80)
        return 1;
    const std::size_t length = first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    if (first < 0xC2 || first > 0xF4 || length > text.size())
        return 0;
    // What could be said with fewer bytes, halves of pairs, and what lies beyond all characters.
    const auto second = static_cast<unsigned char>(text[1]);
    const bool isOutside = (first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) ||
                           (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F);
    const auto rest = text.substr(1, length - 1);
    const bool isWhole = std::all_of(rest.begin(), rest.end(), isContinuation);
    return isWhole && !isOutside ? length : 0;
}

} // namespace

std::string printable(std::string_view text, bool keepLines)
{
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t length = lengthOfCharacter(text.substr(i));
        const bool isLayout = text[i] == '\n' || text[i] == '\t';
        // U+0080 to U+009F, which some terminals obey like an escape sequence.
        const bool isHighControl = length == 2 && text.substr(i, 2) < "\xC2\xA0";
        if (length == 0)
            result += "\\x" + hexDigits(text.substr(i, 1));
        else if (isHighControl)
            result += "\\x" + hexDigits(text.substr(i + 1, 1));
        else if (isControl(text[i]) && !(isLayout && keepLines))
            result += "\\x" + hexDigits(text.substr(i, 1));
        else
            result += text.substr(i, length);
        i += std::max<std::size_t>(length, 1);
    }
    return result;
}

std::string trimmed(std::string_view text)
{
    static constexpr auto kBlanks = " \t\r\n";
    const auto first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return std::string(text.substr(first, text.find_last_not_of(kBlanks) - first + 1));
}

std::size_t columns(std::string_view text)
{
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return !isContinuation(c); }));
}

std::string_view firstColumns(std::string_view text, std::size_t most)
{
    std::size_t used = 0;
    const auto end = std::find_if(text.begin(), text.end(), [&](char c) {
        used += isContinuation(c) ? 0U : 1U;
        return used > most;
    });
    return {text.begin(), end};
}

} // namespace zel::cli
