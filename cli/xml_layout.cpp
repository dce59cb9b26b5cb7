#include "xml_layout.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

namespace zel::cli {

namespace {

enum class Kind : std::uint8_t { opening, closing, single, text };

struct Piece {
    Kind kind = Kind::text;
    std::string_view text;
};

/// Where the markup that begins here ends; npos when it does not.
std::size_t endOfMarkup(std::string_view rest)
{
    const auto endAfter = [rest](std::string_view mark) {
        const auto at = rest.find(mark);
        return at == std::string_view::npos ? at : at + mark.size();
    };
    if (rest.starts_with("<!--"))
        return endAfter("-->");
    if (rest.starts_with("<![CDATA["))
        return endAfter("]]>");
    char quote = '\0';
    for (std::size_t i = 1; i < rest.size(); ++i) {
        const char c = rest[i];
        if (quote != '\0')
            quote = c == quote ? '\0' : quote;
        else if (c == '"' || c == '\'')
            quote = c;
        else if (c == '>')
            return i + 1;
    }
    return std::string_view::npos;
}

Kind kindOf(std::string_view markup)
{
    if (markup.starts_with("<![CDATA["))
        return Kind::text;
    if (markup.starts_with("</"))
        return Kind::closing;
    const bool isWhole =
        markup.starts_with("<?") || markup.starts_with("<!") || markup.ends_with("/>");
    return isWhole ? Kind::single : Kind::opening;
}

bool isBlank(std::string_view text)
{
    return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

std::optional<std::vector<Piece>> piecesOf(std::string_view document)
{
    std::vector<Piece> pieces;
    while (!document.empty()) {
        const bool isMarkup = document.front() == '<';
        const auto size = isMarkup ? endOfMarkup(document) : document.find('<');
        if (isMarkup && size == std::string_view::npos)
            return std::nullopt;
        const auto text = document.substr(0, size);
        if (isMarkup || !isBlank(text))
            pieces.push_back({isMarkup ? kindOf(text) : Kind::text, text});
        document.remove_prefix(text.size());
    }
    return pieces;
}

} // namespace

std::string indentedXml(std::string_view document)
{
    // A document of a module can be nested as deep as it is long.
    constexpr std::size_t kDeepestIndent = 40;
    const auto pieces = piecesOf(document);
    if (!pieces || pieces->empty() || pieces->front().kind == Kind::text)
        return std::string(document);
    std::string result;
    std::size_t depth = 0;
    bool isLineOpen = false; // an element whose text or end may stand on the same line
    for (const auto& piece : *pieces) {
        if (piece.kind == Kind::closing) {
            if (depth == 0)
                return std::string(document);
            --depth;
        }
        const bool staysOnLine =
            isLineOpen && (piece.kind == Kind::closing || piece.kind == Kind::text);
        if (!staysOnLine) {
            result += result.empty() ? "" : "\n";
            result.append(2 * std::min(depth, kDeepestIndent), ' ');
        }
        result += piece.text;
        depth += piece.kind == Kind::opening ? 1 : 0;
        isLineOpen = piece.kind == Kind::opening || (piece.kind == Kind::text && staysOnLine);
    }
    return depth == 0 ? result + '\n' : std::string(document);
}

std::string wholeText(pugi::xml_node element)
{
    std::string text;
    for (const auto part : element.children())
        if (part.type() == pugi::node_pcdata || part.type() == pugi::node_cdata)
            text += part.value();
    return text;
}

} // namespace zel::cli
