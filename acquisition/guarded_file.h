#pragma once

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace zel::acquisition {

/// The file of a recording, held open beside the library that writes it: as long as this lives, no
/// other can record into it or repair it. Reading is free. Ends with the process, however that ends.
class GuardedFile {
public:
    enum class Opening {
        create,  ///< it must not be there
        replace, ///< whatever it holds is going to be replaced; it is made where it is not there
        existing ///< it must be there
    };
    enum class Room { enough, none, unknown };

    /// Leaves the content as it is. Throws Failure.
    GuardedFile(const std::string& name, Opening opening);
    GuardedFile(const GuardedFile&) = delete;
    GuardedFile& operator=(const GuardedFile&) = delete;
    ~GuardedFile();

    /// Sees to it that the file can be written up to there whatever else fills the disk. Its size
    /// does not change. Unknown where the file system cannot promise that, but has room now.
    Room reserve(std::uint64_t end);
    /// Brings what has been written to the disk itself. Throws Failure.
    void sync();
    /// Gives back what is reserved behind the end of the file.
    void trim();
    /// Whether it was made for this.
    bool isNew() const { return m_isNew; }

    /// Whether somebody holds it in this way.
    static bool isHeld(const std::string& name);

    /// what() tells a person why.
    class Failure : public std::runtime_error {
    public:
        using std::runtime_error::runtime_error;
    };

private:
    std::string m_name;
    std::filesystem::path m_path;
    std::intptr_t m_handle = -1; // a descriptor, or a HANDLE
    bool m_isNew = false;
    bool m_canReserve = true;
    std::uint64_t m_reserved = 0;
};

/// A name in UTF-8, as the host wants it. Throws GuardedFile::Failure for one that is none.
std::filesystem::path recordingPath(const std::string& name);

} // namespace zel::acquisition
