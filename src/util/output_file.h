#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <filesystem>

namespace zel {

/// Which file it is, whatever names it has.
struct FileIdentity {
    std::uint64_t volume = 0;
    std::uint64_t number = 0;

    auto operator<=>(const FileIdentity&) const = default;
};

/// A file of the host's that is open for writing. Any thread, one at a time.
class clOutputFile {
public:
    clOutputFile() = default;
    ~clOutputFile() { close(); }
    clOutputFile(const clOutputFile&) = delete;
    clOutputFile& operator=(const clOutputFile&) = delete;

    enum class Opening { failed, existed, made };

    /// Opens the file, or makes it; never waits, and leaves what is in it. Regular files only, and
    /// on Linux character devices.
    Opening open(const std::filesystem::path& file);
    void close();

    FileIdentity identity() const;
    /// Whether the name still leads to this file.
    bool isAt(const std::filesystem::path& file) const;
    /// The name without links, by which a file that was made can be removed.
    static std::filesystem::path realName(const std::filesystem::path& file);

    /// Replaces the content. Where that fails for want of room the content is what it was; where it
    /// fails on the way the file is empty.
    bool replace(const void* data, std::size_t size);
    /// Closes the file, and removes it where it is empty and its name still leads to it.
    void closeAndRemoveEmpty(const std::filesystem::path& file);

private:
    std::intptr_t m_handle = -1; // a descriptor, or a HANDLE
};

} // namespace zel
