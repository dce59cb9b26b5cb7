#include "command_output.h"

#include <cerrno>
#include <cstring>

#include <nlohmann/json.hpp>

#include "console.h"
#include "printable.h"
#include "xml_layout.h"

namespace zel::cli {

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
    if (std::fwrite(data.data(), 1, data.size(), m_results) != data.size() && m_error == 0) {
        m_error = errno;
    }
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
    if (isForTerminal) {
        shown = printable(shown, true);
    } else {
        makeBinary(m_results);
    }
    bytes(shown);
    if (!shown.empty() && !shown.ends_with('\n')) {
        bytes("\n");
    }
}

void CommandOutput::table(const TextTable& table, std::string_view whenEmpty, std::string_view note)
{
    if (table.isEmpty()) {
        line(whenEmpty);
    } else {
        bytes(table.text());
    }
    if (!note.empty()) {
        line(printable(note, true));
    }
}

void CommandOutput::json(const nlohmann::json& result)
{
    // Modules may send bytes that are no UTF-8; they must not cost the whole answer.
    line(result.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
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

void CommandOutput::finish()
{
    if (std::fflush(m_results) != 0 && m_error == 0) {
        m_error = errno;
    }
    if (m_error == EPIPE) {
        throw ReaderGone{};
    }
    if (m_error != 0) {
        throw CommandFailure(
            {.problem = "the result could not be written: " + std::string(std::strerror(m_error)),
             .advice = "is there room where it goes, and may you write there?"});
    }
}

void CommandOutput::failure(const CommandFailure& failure)
{
    if (isJson) {
        json(failure.asJson());
    }
    std::fflush(m_results);
    const std::string message = failure.message();
    std::fwrite(message.data(), 1, message.size(), stderr);
}

} // namespace zel::cli
