#include "guarded_file.h"

#include <system_error>
#include <windows.h>

namespace zel::acquisition {

namespace {

// Two bytes far behind all data. Who holds a file has the second one locked, in the shared way:
// readers that lock the whole file so do not mind. The first one is locked, alone, by who looks.
constexpr DWORD kLooking = 0;
constexpr DWORD kHolding = 1;

OVERLAPPED placeOf(DWORD byte)
{
    OVERLAPPED place = {};
    place.Offset = byte;
    place.OffsetHigh = 0x40000000;
    return place;
}

bool lock(HANDLE file, DWORD byte, DWORD how)
{
    OVERLAPPED place = placeOf(byte);
    return LockFileEx(file, how, 0, 1, 0, &place) != 0;
}

void unlock(HANDLE file, DWORD byte)
{
    OVERLAPPED place = placeOf(byte);
    UnlockFileEx(file, 0, 1, 0, &place);
}

/// Whether nobody holds it; then this one does, where it wants to.
bool isFree(HANDLE file, bool wantsIt)
{
    if (!lock(file, kLooking, LOCKFILE_EXCLUSIVE_LOCK))
        return false;
    const bool free = lock(file, kHolding, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY);
    if (free)
        unlock(file, kHolding);
    const bool isDone = free && (!wantsIt || lock(file, kHolding, LOCKFILE_FAIL_IMMEDIATELY));
    unlock(file, kLooking);
    return isDone;
}

std::string why(DWORD error = GetLastError())
{
    return std::system_category().message(static_cast<int>(error));
}

HANDLE handleOf(std::intptr_t value)
{
    return reinterpret_cast<HANDLE>(value); // NOLINT
}

HANDLE openFile(const std::filesystem::path& path, DWORD access, DWORD how)
{
    return CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                       nullptr, how, FILE_ATTRIBUTE_NORMAL, nullptr);
}

std::uint64_t sizeOf(HANDLE file)
{
    LARGE_INTEGER size = {};
    return GetFileSizeEx(file, &size) != 0 ? static_cast<std::uint64_t>(size.QuadPart) : 0;
}

} // namespace

GuardedFile::GuardedFile(const std::string& name, Opening opening)
    : m_name(name), m_path(recordingPath(name))
{
    constexpr DWORD kAccess = GENERIC_READ | GENERIC_WRITE;
    HANDLE file = INVALID_HANDLE_VALUE;
    if (opening != Opening::existing) {
        file = openFile(m_path, kAccess, CREATE_NEW);
        m_isNew = file != INVALID_HANDLE_VALUE;
    }
    std::error_code ignored;
    const bool isThere = std::filesystem::exists(m_path, ignored);
    if (isThere && std::filesystem::is_directory(m_path, ignored))
        throw Failure(name + " is a folder");
    if (!m_isNew && opening == Opening::create && isThere)
        throw Failure(name + " is there already");
    if (!m_isNew && opening != Opening::create && isThere) {
        if (!std::filesystem::is_regular_file(m_path, ignored))
            throw Failure(name + " is not a regular file");
        file = openFile(m_path, kAccess, OPEN_EXISTING);
    }
    if (file == INVALID_HANDLE_VALUE) {
        const DWORD error = GetLastError();
        if (error == ERROR_PATH_NOT_FOUND && opening != Opening::existing)
            throw Failure("could not create " + name + ": its folder is not there");
        throw Failure("could not open " + name + " for writing: " + why(error));
    }
    if (!isFree(file, true)) {
        CloseHandle(file);
        throw Failure(name + " is being recorded into");
    }
    m_handle = reinterpret_cast<std::intptr_t>(file);
}

GuardedFile::~GuardedFile()
{
    CloseHandle(handleOf(m_handle));
}

GuardedFile::Room GuardedFile::reserve(std::uint64_t end)
{
    const std::uint64_t size = sizeOf(handleOf(m_handle));
    if (end <= size || end <= m_reserved)
        return Room::enough;
    if (m_canReserve) {
        FILE_ALLOCATION_INFO wanted = {};
        wanted.AllocationSize.QuadPart = static_cast<LONGLONG>(end);
        if (SetFileInformationByHandle(handleOf(m_handle), FileAllocationInfo, &wanted, sizeof wanted)) {
            m_reserved = end;
            return Room::enough;
        }
        const DWORD error = GetLastError();
        if (error == ERROR_DISK_FULL || error == ERROR_HANDLE_DISK_FULL)
            return Room::none;
        m_canReserve = false;
    }
    std::error_code error;
    const auto space = std::filesystem::space(m_path.parent_path().empty()
                                                  ? std::filesystem::path(".")
                                                  : m_path.parent_path(),
                                              error);
    return !error && end - size > space.available ? Room::none : Room::unknown;
}

void GuardedFile::sync()
{
    if (FlushFileBuffers(handleOf(m_handle)) == 0)
        throw Failure("could not bring " + m_name + " to the disk: " + why());
}

void GuardedFile::trim()
{
    // The system does so when the last handle goes.
}

bool GuardedFile::isHeld(const std::string& name)
{
    const HANDLE file = openFile(recordingPath(name), GENERIC_READ, OPEN_EXISTING);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    const bool isHeldNow = !isFree(file, false);
    CloseHandle(file);
    return isHeldNow;
}

} // namespace zel::acquisition
