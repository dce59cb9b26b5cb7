#include "output_file.h"

#include <algorithm>
#include <system_error>

#include <windows.h>
#include <io.h>

namespace zel::acquisition {

namespace {

HANDLE handleOf(std::intptr_t value)
{
    return reinterpret_cast<HANDLE>(value);
}

std::string textOf(DWORD error)
{
    return std::system_category().message(static_cast<int>(error));
}

bool isShortOfRoom(DWORD error)
{
    constexpr DWORD kDiskQuotaExceeded = 1295; // older headers lack its name
    return error == ERROR_DISK_FULL || error == ERROR_HANDLE_DISK_FULL ||
           error == kDiskQuotaExceeded;
}

bool isReaderGone(DWORD error)
{
    return error == ERROR_BROKEN_PIPE || error == ERROR_NO_DATA ||
           error == ERROR_PIPE_NOT_CONNECTED;
}

/// Gives its size, where it is a file.
bool findSize(HANDLE file, std::uint64_t& size)
{
    LARGE_INTEGER found{};
    if (GetFileType(file) != FILE_TYPE_DISK || GetFileSizeEx(file, &found) == 0)
        return false;
    size = static_cast<std::uint64_t>(found.QuadPart);
    return true;
}

} // namespace

void OutputFile::open()
{
    constexpr DWORD kShare = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE file = CreateFileW(m_path.c_str(), GENERIC_WRITE, kShare, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        throw SinkFailure("could not create " + m_name + ": " + textOf(GetLastError()));
    m_handle = reinterpret_cast<std::intptr_t>(file);
    m_isRegular = findSize(file, m_size);
}

void OutputFile::adopt(int descriptor)
{
    m_handle = _get_osfhandle(descriptor);
    m_isRegular = findSize(handleOf(m_handle), m_size);
}

OutputFile::~OutputFile()
{
    if (m_isOwn)
        CloseHandle(handleOf(m_handle));
}

std::size_t OutputFile::write(std::string_view bytes)
{
    constexpr std::size_t kMost = 1U << 20U;
    constexpr std::size_t kLeast = 512;
    std::size_t most = kMost;
    std::size_t done = 0;
    DWORD error = ERROR_SUCCESS;
    while (done < bytes.size() && error == ERROR_SUCCESS) {
        const auto piece = bytes.substr(done, most);
        DWORD count = 0;
        if (WriteFile(handleOf(m_handle), piece.data(), static_cast<DWORD>(piece.size()), &count,
                      nullptr) == 0) {
            error = GetLastError();
            // What does not fit as a whole may do so in part.
            if (isShortOfRoom(error) && m_isRegular && piece.size() > kLeast) {
                error = ERROR_SUCCESS;
                most = piece.size() / 2;
            }
        } else if (count == 0) {
            error = ERROR_DISK_FULL;
        }
        done += count;
    }
    m_written += done;
    m_size += done;
    if (isReaderGone(error))
        throw ReaderGone("nobody reads " + m_name + " any more");
    if (error != ERROR_SUCCESS && !isShortOfRoom(error))
        fail(textOf(error));
    return done;
}

bool OutputFile::takeBack(std::uint64_t count)
{
    if (!m_isRegular || count > m_size)
        return false;
    LARGE_INTEGER end{};
    end.QuadPart = static_cast<LONGLONG>(m_size - count);
    const HANDLE file = handleOf(m_handle);
    if (SetFilePointerEx(file, end, nullptr, FILE_BEGIN) == 0 || SetEndOfFile(file) == 0)
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
    if (CloseHandle(handleOf(m_handle)) == 0)
        fail(textOf(GetLastError()));
}

} // namespace zel::acquisition
