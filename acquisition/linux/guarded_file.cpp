#include "guarded_file.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zel::acquisition {

namespace {

// Far behind all data, and not what flock() locks: readers that lock the whole file do not meet it.
// It belongs to the open file, not to the process, so that two recorders of one process exclude
// each other as well.
struct flock guard()
{
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = off_t{1} << 62;
    lock.l_len = 1;
    return lock;
}

std::string why()
{
    return std::strerror(errno);
}

bool isShortOfRoom(int error)
{
    return error == ENOSPC || error == EDQUOT;
}

} // namespace

GuardedFile::GuardedFile(const std::string& name, Opening opening)
    : m_name(name), m_path(recordingPath(name))
{
    constexpr int kFlags = O_RDWR | O_CLOEXEC | O_NONBLOCK;
    int file = -1;
    if (opening != Opening::existing) {
        file = open(m_path.c_str(), kFlags | O_CREAT | O_EXCL, 0666);
        m_isNew = file >= 0;
    }
    if (file < 0 && (opening == Opening::existing || (opening == Opening::replace && errno == EEXIST)))
        file = open(m_path.c_str(), kFlags);
    if (file < 0 && errno == EISDIR)
        throw Failure(name + " is a folder");
    if (file < 0 && errno == EEXIST)
        throw Failure(name + " is there already");
    if (file < 0 && errno == ENOENT && opening != Opening::existing)
        throw Failure("could not create " + name + ": its folder is not there");
    if (file < 0)
        throw Failure("could not open " + name + " for writing: " + why());

    struct stat status = {};
    struct flock lock = guard();
    const bool isFile = fstat(file, &status) == 0 && S_ISREG(status.st_mode);
    if (!isFile || fcntl(file, F_OFD_SETLK, &lock) != 0) {
        const std::string reason = why();
        const bool isHeldNow = errno == EAGAIN || errno == EACCES;
        close(file);
        if (!isFile)
            throw Failure(name + " is not a regular file");
        throw Failure(isHeldNow ? name + " is being recorded into"
                                : "could not lock " + name + ": " + reason);
    }
    m_handle = file;
}

GuardedFile::~GuardedFile()
{
    close(static_cast<int>(m_handle));
}

GuardedFile::Room GuardedFile::reserve(std::uint64_t end)
{
    const int file = static_cast<int>(m_handle);
    if (end <= m_reserved)
        return Room::enough;
    while (m_canReserve) {
        if (fallocate(file, FALLOC_FL_KEEP_SIZE, static_cast<off_t>(m_reserved),
                      static_cast<off_t>(end - m_reserved)) == 0) {
            m_reserved = end;
            return Room::enough;
        }
        if (errno == EINTR)
            continue;
        if (isShortOfRoom(errno))
            return Room::none;
        if (errno == EFBIG)
            throw Failure(m_name + " has become as large as a file may be here");
        m_canReserve = false;
    }
    struct stat status = {};
    std::error_code error;
    const auto space = std::filesystem::space(m_path, error);
    if (error || fstat(file, &status) != 0)
        return Room::unknown;
    const auto size = static_cast<std::uint64_t>(status.st_size);
    return end > size && end - size > space.available ? Room::none : Room::unknown;
}

void GuardedFile::sync()
{
    if (fdatasync(static_cast<int>(m_handle)) != 0)
        throw Failure("could not bring " + m_name + " to the disk: " + why());
}

void GuardedFile::trim()
{
    struct stat status = {};
    const int file = static_cast<int>(m_handle);
    // To the size that it has: this frees the blocks behind it. Nothing depends on it.
    if (fstat(file, &status) == 0 && ftruncate(file, status.st_size) != 0)
        m_canReserve = false;
}

bool GuardedFile::isHeld(const std::string& name)
{
    const int file = open(recordingPath(name).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0)
        return false;
    struct flock lock = guard();
    const bool isKnown = fcntl(file, F_OFD_GETLK, &lock) == 0;
    close(file);
    return isKnown && lock.l_type != F_UNLCK;
}

} // namespace zel::acquisition
