#pragma once

#include "guarded_file.h"
#include "sink.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace zel::acquisition {

/// Nobody reads any more what goes to a pipe. Mostly no fault: who read it has seen enough.
class ReaderGone : public SinkFailure {
public:
    using SinkFailure::SinkFailure;
};

/// Where a recording goes byte by byte.
struct OutputTarget {
    std::string name = {};   ///< of a file, UTF-8; without one what `descriptor` leads to
    bool mayReplace = false; ///< a file that is there already
    int descriptor = 1;      ///< of the C run-time; stays open
};

/// A file, or whatever this process's standard output leads to, without a buffer between: what is
/// written is the system's. One thread at a time.
class OutputFile {
public:
    /// Makes the file; one that is to be replaced is left as it is until clear(). Throws
    /// SinkFailure.
    explicit OutputFile(const OutputTarget& target);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// Empties what is replaced. Throws SinkFailure.
    void clear();
    /// Removes the file where it was made for this: nothing of what was to come does.
    void undo();

    /// Gives how many of the bytes were written; where not all, there is no room for more now.
    /// Throws SinkFailure; ReaderGone. A reader's signal of that kind is kept from the process.
    std::size_t write(std::string_view bytes);
    /// Takes back the last so many of the written bytes; false, and nothing done, where it is no
    /// file that can be shortened.
    bool takeBack(std::uint64_t count);
    /// Throws SinkFailure when the system tells only now that it has lost something.
    void close();

    std::uint64_t written() const { return m_written; }
    /// "run.csv", "standard output"
    const std::string& name() const { return m_name; }
    /// Whether the bytes stay where they are put; false for pipes, terminals and devices.
    bool isRegular() const { return m_isRegular; }

private:
    void open();
    void adopt(int descriptor);
    [[noreturn]] void fail(const std::string& why) const;

    std::string m_name;
    std::filesystem::path m_path;
    std::optional<GuardedFile> m_guard; // of a regular file
    std::intptr_t m_handle = -1;        // a descriptor, or a HANDLE
    bool m_isOwn = false;
    bool m_isRegular = false;
    std::uint64_t m_size = 0; // of a regular file, and where it goes on
    std::uint64_t m_written = 0;
};

} // namespace zel::acquisition
