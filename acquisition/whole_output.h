#pragma once

#include "output_file.h"
#include "plain_text.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace zel::acquisition {

/// Lines, or pieces of one size, on their way into a file. What finds no room waits here, and the
/// file ends with a whole one meanwhile.
class WholeOutput {
public:
    /// `size`: of a piece in bytes; 0 for lines. Throws SinkFailure.
    explicit WholeOutput(const OutputTarget& target, std::size_t size = 0);

    /// What is to be written; whole lines or pieces.
    TextBuffer& waiting() { return m_waiting; }
    /// Writes what waits; false when there was no room for some of it. Throws SinkFailure.
    bool write();
    /// The last call: writes what waits and closes the file. Where there is no room for all, what
    /// is left is dropped, and `cause` brought into the file in a line of this kind, for which the
    /// last rows make room. Throws SinkFailure.
    void finish(std::string (*line)(const std::string& cause) = nullptr,
                const std::string& cause = {});

    OutputFile& file() { return m_file; }
    const OutputFile& file() const { return m_file; }
    /// Rows, which begin with a number, that finish() has not brought into the file.
    std::uint64_t rowsLeft() const { return m_rowsLeft; }

private:
    std::size_t wholePart(std::string_view bytes) const;
    void remember(std::string_view written);
    bool append(const std::string& line);
    void makeRoom(std::size_t bytes);

    OutputFile m_file;
    const std::size_t m_size;
    TextBuffer m_waiting;
    std::string m_latest; // what the file ends with
    std::uint64_t m_rowsLeft = 0;
};

} // namespace zel::acquisition
