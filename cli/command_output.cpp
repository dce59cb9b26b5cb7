#include "command_output.h"

#include "console.h"
#include "number_text.h"
#include "printable.h"
#include "xml_layout.h"

#include <cerrno>
#include <cstring>

#include <nlohmann/json.hpp>

namespace zel::cli {

namespace {

/// DEL and U+0080 to U+009F, which JSON lets stand and terminals obey, as the same JSON value in
/// other words.
std::string withoutControls(std::string_view json)
{
    std::string text;
    text.reserve(json.size());
    for (std::size_t i = 0; i < json.size(); ++i) {
        const auto two = json.substr(i, 2);
        const bool isHighControl = two >= "\xC2\x80" && two < "\xC2\xA0";
        if (isHighControl || json[i] == '\x7F') {
            i += isHighControl ? 1 : 0;
            text += "\\u00" + hexDigits(json.substr(i, 1));
        } else {
            text += json[i];
        }
    }
    return text;
}

} // namespace

void CommandOutput::separateFromLog()
{
    std::FILE* const own = takeStandardOutput();
    if (own == nullptr) {
        throw CommandFailure({.problem = "the log cannot be kept apart from the result: " +
                                         std::string(std::strerror(errno)),
                              .advice = "leave out --log"});
    }
    m_results = own;
}

void CommandOutput::bytes(std::string_view data)
{
    if (std::fwrite(data.data(), 1, data.size(), m_results) != data.size() && m_error == 0)
        m_error = errno;
}

void CommandOutput::line(std::string_view text)
{
    bytes(text);
    bytes("\n");
}

void CommandOutput::value(std::string_view text)
{
    line(printable(text));
}

void CommandOutput::document(std::string_view text)
{
    const bool isForTerminal = isTerminal(m_results);
    std::string shown = isForTerminal || isPretty ? indentedXml(text) : std::string(text);
    if (isForTerminal)
        shown = printable(shown, true);
    else
        makeBinary(m_results);
    bytes(shown);
    if (!shown.empty() && !shown.ends_with('\n'))
        bytes("\n");
}

void CommandOutput::table(const TextTable& table, std::string_view whenEmpty, std::string_view note)
{
    if (table.isEmpty())
        line(whenEmpty);
    else
        bytes(table.text());
    if (!note.empty())
        line(printable(note, true));
}

void CommandOutput::json(const nlohmann::json& result)
{
    // Modules may send bytes that are no UTF-8; they must not cost the whole answer.
    line(withoutControls(result.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace)));
}

void CommandOutput::json(nlohmann::json identity, const nlohmann::json& result)
{
    identity.update(result);
    json(identity);
}

bool CommandOutput::isOnTerminal() const
{
    return isTerminal(m_results);
}

int CommandOutput::descriptor()
{
    finish();
    makeBinary(m_results); // as many bytes go there as are written
    return fileno(m_results);
}

void CommandOutput::finish()
{
    if (std::fflush(m_results) != 0 && m_error == 0)
        m_error = errno;
    if (m_error == EPIPE)
        throw ReaderGone{};
    if (m_error != 0) {
        throw CommandFailure(
            {.problem = "the result could not be written: " + std::string(std::strerror(m_error)),
             .advice = "is there room where it goes, and may you write there?"});
    }
}

void CommandOutput::failure(const CommandFailure& failure)
{
    if (isJson)
        json(failure.asJson());
    std::fflush(m_results);
    const std::string message = failure.message();
    std::fwrite(message.data(), 1, message.size(), stderr);
}

} // namespace zel::cli
