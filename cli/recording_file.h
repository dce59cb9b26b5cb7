#pragma once

#include "command_output.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace zel::cli {

/// Where the lines of a recording go: a file, or the command's own output. Each piece leaves at
/// once; nothing is kept back.
class RecordingFile {
public:
    /// Without a name, the output. Throws CommandFailure when the file cannot be made.
    RecordingFile(CommandOutput& output, const std::string& name, bool mayReplace);
    RecordingFile(const RecordingFile&) = delete;
    RecordingFile& operator=(const RecordingFile&) = delete;
    ~RecordingFile();

    /// Whole lines, so many rows among them. Throws CommandFailure, or ReaderGone; a file then ends
    /// with its last whole line.
    void write(std::string_view lines, std::uint64_t rows);

    /// Throws CommandFailure when the system tells only now that it has lost something.
    void close();

    /// Ends what is broken off with a line that says so, if it can. On a full disk the last rows
    /// make room for it.
    void breakOff(const std::string& line);

    /// "run.csv", or "standard output".
    std::string name() const { return m_name.empty() ? "standard output" : m_name; }

    /// Whether something could not be written.
    bool hasFailed() const { return m_hasFailed; }

    /// Rows that have arrived.
    std::uint64_t rows() const { return m_rows; }

private:
    std::size_t append(std::string_view text);
    void keepWholeLines(std::string_view arrived);
    void makeRoom(std::size_t bytes);
    [[noreturn]] void fail(int error) const;

    CommandOutput& m_output;
    const std::string m_name;
    int m_file = -1; // the output's own when that is one; -1 for a pipe
    std::uint64_t m_size = 0;
    std::uint64_t m_rows = 0;
    bool m_hasFailed = false;
    std::string m_latest; // the lines that the file ends with
};

} // namespace zel::cli
