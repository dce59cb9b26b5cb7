#include "output_file.h"

#include <algorithm>
#include <system_error>

#include <windows.h>

namespace zel {

namespace {

// As others may do with a file on Linux: read it, write it, remove it.
constexpr DWORD kSharing = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr std::size_t kPiece = std::size_t{1} << 30;

HANDLE handleOf(std::intptr_t handle)
{
    return reinterpret_cast<HANDLE>(handle);
}

HANDLE openAs(const std::filesystem::path& file, DWORD disposition)
{
    return CreateFileW(file.c_str(), GENERIC_WRITE | FILE_READ_ATTRIBUTES, kSharing, nullptr,
                       disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

/// A handle that is closed again.
class Handle {
public:
    Handle(const std::filesystem::path& file, DWORD access)
        : m_handle(CreateFileW(file.c_str(), access, kSharing, nullptr, OPEN_EXISTING, 0, nullptr))
    {
    }
    ~Handle()
    {
        if (m_handle != INVALID_HANDLE_VALUE)
            CloseHandle(m_handle);
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    HANDLE get() const { return m_handle; }

private:
    const HANDLE m_handle;
};

FileIdentity identityOf(const BY_HANDLE_FILE_INFORMATION& facts)
{
    return {facts.dwVolumeSerialNumber,
            std::uint64_t{facts.nFileIndexHigh} << 32 | facts.nFileIndexLow};
}

FileIdentity identityOf(HANDLE file)
{
    BY_HANDLE_FILE_INFORMATION facts{};
    return GetFileInformationByHandle(file, &facts) ? identityOf(facts) : FileIdentity{};
}

std::uint64_t sizeOf(HANDLE file)
{
    LARGE_INTEGER size{};
    return GetFileSizeEx(file, &size) ? static_cast<std::uint64_t>(size.QuadPart) : 0;
}

bool setSize(HANDLE file, std::uint64_t size)
{
    LARGE_INTEGER position{};
    position.QuadPart = static_cast<LONGLONG>(size);
    return SetFilePointerEx(file, position, nullptr, FILE_BEGIN) && SetEndOfFile(file);
}

/// False when there is no room for so much; then the file is as it was.
bool hasRoomFor(HANDLE file, std::size_t size)
{
    const std::uint64_t before = sizeOf(file);
    if (size <= before || setSize(file, size))
        return true;
    setSize(file, before);
    return false;
}

bool writeAll(HANDLE file, const char* data, std::size_t size)
{
    while (size > 0) {
        DWORD written = 0;
        if (!WriteFile(file, data, static_cast<DWORD>(std::min(size, kPiece)), &written, nullptr) ||
            written == 0)
            return false;
        data += written;
        size -= written;
    }
    return true;
}

} // namespace

clOutputFile::Opening clOutputFile::open(const std::filesystem::path& file)
{
    close();
    Opening how = Opening::made;
    HANDLE opened = openAs(file, CREATE_NEW);
    if (opened == INVALID_HANDLE_VALUE && GetLastError() == ERROR_FILE_EXISTS) {
        how = Opening::existed;
        opened = openAs(file, OPEN_EXISTING);
        if (opened == INVALID_HANDLE_VALUE && GetLastError() == ERROR_FILE_NOT_FOUND) {
            // A link to nothing: what it names is made.
            how = Opening::made;
            opened = openAs(file, OPEN_ALWAYS);
        }
    }
    if (opened == INVALID_HANDLE_VALUE)
        return Opening::failed;
    m_handle = reinterpret_cast<std::intptr_t>(opened);
    // A volume is a disk too, but no file.
    BY_HANDLE_FILE_INFORMATION facts{};
    if (GetFileType(opened) == FILE_TYPE_DISK && GetFileInformationByHandle(opened, &facts))
        return how;
    close();
    return Opening::failed;
}

void clOutputFile::close()
{
    if (m_handle != -1)
        CloseHandle(handleOf(m_handle));
    m_handle = -1;
}

FileIdentity clOutputFile::identity() const
{
    return identityOf(handleOf(m_handle));
}

bool clOutputFile::isAt(const std::filesystem::path& file) const
{
    const Handle there{file, FILE_READ_ATTRIBUTES};
    return there.get() != INVALID_HANDLE_VALUE && identityOf(there.get()) == identity();
}

std::filesystem::path clOutputFile::realName(const std::filesystem::path& file)
{
    std::error_code failure;
    const std::filesystem::path name = std::filesystem::absolute(file, failure);
    return failure ? file : name;
}

bool clOutputFile::replace(const void* data, std::size_t size)
{
    const HANDLE file = handleOf(m_handle);
    if (!hasRoomFor(file, size) || !setSize(file, 0))
        return false;
    if (writeAll(file, static_cast<const char*>(data), size))
        return true;
    // Better nothing than a part.
    setSize(file, 0);
    return false;
}

void clOutputFile::closeAndRemoveEmpty(const std::filesystem::path& file)
{
    const FileIdentity own = identity();
    close();
    const Handle there{file, DELETE | FILE_READ_ATTRIBUTES};
    if (there.get() == INVALID_HANDLE_VALUE || identityOf(there.get()) != own ||
        sizeOf(there.get()) != 0)
        return;
    FILE_DISPOSITION_INFO gone{};
    gone.DeleteFile = TRUE;
    SetFileInformationByHandle(there.get(), FileDispositionInfo, &gone, sizeof gone);
}

} // namespace zel
