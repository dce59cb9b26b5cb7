#include "output_file.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zel::acquisition {

namespace {

/// A reader that has gone is an error, not the end of the process, whatever that has told the
/// system.
class WithoutPipeSignal {
public:
    WithoutPipeSignal()
    {
        sigset_t pending;
        sigemptyset(&m_pipe);
        sigaddset(&m_pipe, SIGPIPE);
        sigpending(&pending);
        m_wasPending = sigismember(&pending, SIGPIPE) == 1;
        pthread_sigmask(SIG_BLOCK, &m_pipe, &m_before);
    }
    ~WithoutPipeSignal()
    {
        const timespec atOnce{};
        if (!m_wasPending)
            sigtimedwait(&m_pipe, nullptr, &atOnce);
        pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
    }
    WithoutPipeSignal(const WithoutPipeSignal&) = delete;
    WithoutPipeSignal& operator=(const WithoutPipeSignal&) = delete;

private:
    sigset_t m_pipe{};
    sigset_t m_before{};
    bool m_wasPending = false;
};

bool isShortOfRoom(int error)
{
    return error == ENOSPC || error == EDQUOT;
}

/// Whether it is worth another try.
bool waitUntilReady(int file, int error)
{
    if (error != EAGAIN)
        return error == EINTR;
    pollfd entry{file, POLLOUT, 0};
    return ::poll(&entry, 1, -1) >= 0 || errno == EINTR;
}

} // namespace

void OutputFile::open()
{
    const int file = ::open(m_path.c_str(), O_WRONLY | O_CLOEXEC);
    if (file < 0)
        throw SinkFailure("could not create " + m_name + ": " + std::strerror(errno));
    adopt(file);
}

void OutputFile::adopt(int descriptor)
{
    m_handle = descriptor;
    struct stat status {};
    m_isRegular = fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
    m_size = m_isRegular ? static_cast<std::uint64_t>(status.st_size) : 0;
}

OutputFile::~OutputFile()
{
    if (m_isOwn)
        ::close(static_cast<int>(m_handle));
}

std::size_t OutputFile::write(std::string_view bytes)
{
    const WithoutPipeSignal guard;
    const int file = static_cast<int>(m_handle);
    std::size_t done = 0;
    int error = 0;
    while (done < bytes.size() && error == 0) {
        const auto count = ::write(file, bytes.data() + done, bytes.size() - done);
        if (count > 0)
            done += static_cast<std::size_t>(count);
        else if (count == 0)
            error = ENOSPC;
        else if (!waitUntilReady(file, errno))
            error = errno;
    }
    m_written += done;
    m_size += done;
    if (error == EPIPE)
        throw ReaderGone("nobody reads " + m_name + " any more");
    if (error != 0 && !isShortOfRoom(error))
        fail(std::strerror(error));
    return done;
}

bool OutputFile::takeBack(std::uint64_t count)
{
    if (!m_isRegular || count > m_size)
        return false;
    const int file = static_cast<int>(m_handle);
    const auto size = static_cast<off_t>(m_size - count);
    if (ftruncate(file, size) != 0 || lseek(file, 0, SEEK_END) < 0)
        return false;
    m_size -= count;
    m_written -= std::min(count, m_written);
    return true;
}

void OutputFile::close()
{
    if (!m_isOwn)
        return;
    m_isOwn = false;
    if (::close(static_cast<int>(m_handle)) != 0)
        fail(std::strerror(errno));
}

} // namespace zel::acquisition
