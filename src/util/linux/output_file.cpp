#include "output_file.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zel {

namespace {

// A terminal may hold its output back for so long.
constexpr int kStallMs = 3000;

// A pipe that nobody reads refuses at once instead of waiting.
constexpr int kHow = O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
constexpr mode_t kPermissions = 0666; // less what the process masks

int descriptor(std::intptr_t handle)
{
    return static_cast<int>(handle);
}

FileIdentity identityOf(const struct stat& facts)
{
    return {facts.st_dev, facts.st_ino};
}

bool isRegular(int file)
{
    struct stat facts {};
    return ::fstat(file, &facts) == 0 && S_ISREG(facts.st_mode);
}

bool isDevice(int file)
{
    struct stat facts {};
    return ::fstat(file, &facts) == 0 && S_ISCHR(facts.st_mode);
}

bool setSize(int file, off_t size)
{
    return ::ftruncate(file, size) == 0;
}

bool canBeWrittenAgain(int file)
{
    if (errno == EINTR)
        return true;
    pollfd room{file, POLLOUT, 0};
    return errno == EAGAIN && ::poll(&room, 1, kStallMs) == 1 && (room.revents & POLLOUT) != 0;
}

bool writeAll(int file, const char* data, std::size_t size)
{
    while (size > 0) {
        const ssize_t written = ::write(file, data, size);
        if (written < 0 && !canBeWrittenAgain(file))
            return false;
        if (written > 0) {
            data += written;
            size -= static_cast<std::size_t>(written);
        }
    }
    return true;
}

/// Some file systems report a failure only when a descriptor is closed.
bool isAllTaken(int file)
{
    const int copy = ::fcntl(file, F_DUPFD_CLOEXEC, 0);
    return copy < 0 || ::close(copy) == 0 || errno == EINTR;
}

/// False when there is no room for so much; the file's size stays. File systems that cannot tell
/// beforehand count as roomy.
bool hasRoomFor(int file, std::size_t size)
{
    struct stat before {};
    if (size == 0 || ::fstat(file, &before) != 0 ||
        ::fallocate(file, FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(size)) == 0)
        return true;
    const int why = errno;
    if (why != ENOSPC && why != EDQUOT && why != EFBIG)
        return true;
    // The part of the room that it got goes back.
    setSize(file, before.st_size);
    return false;
}

} // namespace

clOutputFile::Opening clOutputFile::open(const std::filesystem::path& file)
{
    close();
    Opening how = Opening::made;
    int opened = ::open(file.c_str(), kHow | O_CREAT | O_EXCL, kPermissions);
    if (opened < 0 && errno == EEXIST) {
        how = Opening::existed;
        opened = ::open(file.c_str(), kHow);
        if (opened < 0 && errno == ENOENT) {
            // A link to nothing: what it names is made.
            how = Opening::made;
            opened = ::open(file.c_str(), kHow | O_CREAT, kPermissions);
        }
    }
    m_handle = opened;
    if (opened >= 0 && (isRegular(opened) || isDevice(opened)))
        return how;
    close();
    return Opening::failed;
}

void clOutputFile::close()
{
    if (m_handle >= 0)
        ::close(descriptor(m_handle));
    m_handle = -1;
}

FileIdentity clOutputFile::identity() const
{
    struct stat facts {};
    return ::fstat(descriptor(m_handle), &facts) == 0 ? identityOf(facts) : FileIdentity{};
}

bool clOutputFile::isAt(const std::filesystem::path& file) const
{
    struct stat facts {};
    return ::stat(file.c_str(), &facts) == 0 && identityOf(facts) == identity();
}

std::filesystem::path clOutputFile::realName(const std::filesystem::path& file)
{
    std::error_code failure;
    const std::filesystem::path name = std::filesystem::canonical(file, failure);
    return failure ? file : name;
}

bool clOutputFile::replace(const void* data, std::size_t size)
{
    const int file = descriptor(m_handle);
    const char* const bytes = static_cast<const char*>(data);
    if (!isRegular(file))
        return writeAll(file, bytes, size);
    if (!hasRoomFor(file, size) || !setSize(file, 0))
        return false;
    if (::lseek(file, 0, SEEK_SET) == 0 && writeAll(file, bytes, size) && isAllTaken(file))
        return true;
    // Better nothing than a part; this needs no room.
    setSize(file, 0);
    return false;
}

void clOutputFile::closeAndRemoveEmpty(const std::filesystem::path& file)
{
    struct stat facts {};
    const bool goes =
        ::fstat(descriptor(m_handle), &facts) == 0 && facts.st_size == 0 && isAt(file);
    close();
    if (goes)
        ::unlink(file.c_str());
}

} // namespace zel
