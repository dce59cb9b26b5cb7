#pragma once

#include "command_failure.h"
#include "console.h"
#include "text_table.h"

#include <cstdio>
#include <string>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

namespace zel::cli {

/// Thrown when nobody reads the result any more, as after 'zel xml ADDRESS | head'.
struct ReaderGone {};

/// Where a command's result goes: text and tables for people, or one line of JSON for programs.
class CommandOutput {
public:
    bool isJson = false;
    bool isPretty = false; ///< documents are indented, which they always are on a terminal

    /// The library logs to standard output. After this its lines go to standard error, so that
    /// standard output holds the result alone and stays parseable.
    void separateFromLog();

    /// One line (or several) that this program made up itself.
    void line(std::string_view text);

    /// One value or one line that came from a module or a file.
    void value(std::string_view text);

    /// A document of a module: byte for byte into a file or a pipe, unless isPretty; indented and
    /// with control characters made visible on a terminal.
    void document(std::string_view text);

    /// Bytes that are nobody's text.
    void bytes(std::string_view data);

    /// The rows, or the sentence when there are none; then the note, if any.
    void table(const TextTable& table, std::string_view whenEmpty, std::string_view note = {});

    void json(const nlohmann::json& result);

    /// The same for a result in two pieces: about which module, and what.
    void json(nlohmann::json identity, const nlohmann::json& result);

    bool isOnTerminal() const;
    TerminalSize terminalSize() const { return zel::cli::terminalSize(m_results); }

    /// The descriptor of what the output goes to, with all that came before in it.
    int descriptor();

    /// Writes out what is buffered; throws CommandFailure when the result could not be written, or
    /// ReaderGone.
    void finish();

    void failure(const CommandFailure& failure);

private:
    std::FILE* m_results = stdout;
    int m_error = 0; // of the first write that failed; later calls overwrite errno
};

} // namespace zel::cli
