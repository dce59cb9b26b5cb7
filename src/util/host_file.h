#pragma once

#include <cstdint>
#include <filesystem>
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
/// all.
class HostFileWriter {
public:
    explicit HostFileWriter(const std::filesystem::path& file);
    /// Removes the file again when it did not exist before and nothing was written.
    ~HostFileWriter();
    HostFileWriter(const HostFileWriter&) = delete;
    HostFileWriter& operator=(const HostFileWriter&) = delete;

    bool isOpen() const { return m_isOpen; }
    /// Replaces the content: 0 or ZEL_FILE_WRITE.
    std::int32_t write(const void* data, std::size_t size);

private:
    const std::filesystem::path m_file;
    bool m_isOpen = false;
    bool m_isNew = false;
};

} // namespace zel
