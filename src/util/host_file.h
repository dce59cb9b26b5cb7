#pragma once

#include "output_file.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace zel {

// Files that a caller of the library names. The names are UTF-8 on every platform.

/// Nothing for a name that is no UTF-8 where the host's names are wide: it names no file.
std::filesystem::path hostPath(std::string_view name);

/// Reads a whole regular file: 0, ZEL_FILE_OPEN, ZEL_FILE_READ, or ZEL_SYS_FILE_TOO_LARGE where it
/// is above `largest` bytes; then `content` is empty.
std::int32_t readHostFile(const std::filesystem::path& file, std::uint64_t largest,
                          std::string& content);

/// A file that is written in one go at the end. Opening it finds out whether it can be written and
/// leaves an existing one as it is, so that nothing is lost when there is nothing to write after
/// all. A file that was made for it goes again unless it is written. Several writers of one file do
/// not mix: each writes it whole, and none removes what another has made or still wants.
class clHostFileWriter {
public:
    /// Does not wait for anybody; see clOutputFile::open for what can be opened.
    explicit clHostFileWriter(const std::filesystem::path& file);
    ~clHostFileWriter();
    clHostFileWriter(const clHostFileWriter&) = delete;
    clHostFileWriter& operator=(const clHostFileWriter&) = delete;

    bool isOpen() const { return m_shared != nullptr; }
    /// Replaces the content: 0 or ZEL_FILE_WRITE, after which the file is as clOutputFile::replace
    /// leaves it, or gone where it was made for this.
    std::int32_t write(const void* data, std::size_t size);

private:
    struct Shared;
    struct OpenFiles;

    static OpenFiles& openFiles();
    void join(FileIdentity identity, bool isMade);
    void leave();

    const std::filesystem::path m_file;
    clOutputFile m_output;
    FileIdentity m_identity;
    std::shared_ptr<Shared> m_shared; // with the other writers of the file
};

} // namespace zel
