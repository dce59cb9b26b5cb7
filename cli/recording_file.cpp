#include "recording_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>

#include "command_failure.h"
#include "file_content.h"

namespace zel::cli {

namespace {

bool isRow(std::string_view line)
{
    return !line.empty() && (line[0] == '-' || (line[0] >= '0' && line[0] <= '9'));
}

std::size_t beginOfLastLine(std::string_view lines)
{
    const auto end =
        lines.size() < 2 ? std::string_view::npos : lines.rfind('\n', lines.size() - 2);
    return end == std::string_view::npos ? 0 : end + 1;
}

std::uint64_t rowsIn(std::string_view lines)
{
    std::uint64_t rows = 0;
    for (; !lines.empty(); lines.remove_prefix(lines.find('\n') + 1)) {
        rows += isRow(lines) ? 1U : 0U;
    }
    return rows;
}

} // namespace

RecordingFile::RecordingFile(CommandOutput& output, const std::string& name, bool mayReplace)
    : m_output(output), m_name(name), m_path(hostPath(name))
{
    if (name.empty()) {
        return;
    }
    requireNewFile(name, mayReplace);
    errno = 0;
    open(std::ios::trunc);
    if (!m_file) {
        throw CommandFailure(
            {.problem = "could not create " + name +
                        (errno != 0 ? std::string(": ") + std::strerror(errno) : std::string{}),
             .advice = "does the folder exist, and may you write there?"});
    }
}

void RecordingFile::open(std::ios::openmode how)
{
    // Without a buffer: what is written is the system's, whatever becomes of this process.
    m_file.rdbuf()->pubsetbuf(nullptr, 0);
    m_file.open(m_path, std::ios::binary | std::ios::out | how);
}

void RecordingFile::write(std::string_view lines, std::uint64_t rows)
{
    m_hasFailed = true; // unless it gets to the end of this
    if (m_name.empty()) {
        m_output.bytes(lines);
        m_output.finish();
    } else if (append(lines) || append(lines.substr(arrivedOf(lines)))) {
        m_size += lines.size();
        m_latest = lines;
    } else {
        const int error = errno;
        keepWholeLines(lines.substr(0, arrivedOf(lines)));
        fail(error);
    }
    m_hasFailed = false;
    m_rows += rows;
}

void RecordingFile::close()
{
    if (m_file.is_open()) {
        errno = 0;
        m_file.close();
        if (!m_file) {
            fail(errno);
        }
    }
}

void RecordingFile::breakOff(const std::string& line)
{
    if (m_name.empty()) {
        m_output.bytes(line);
        return;
    }
    if (!m_file.is_open()) {
        open(std::ios::app);
    }
    if (!append(line)) {
        makeRoom(line.size());
        m_size += append(line) ? line.size() : 0;
        cutBack();
    }
}

bool RecordingFile::append(std::string_view text)
{
    m_file.clear();
    errno = 0;
    m_file.write(text.data(), static_cast<std::streamsize>(text.size()));
    m_file.flush();
    return m_file.good();
}

/// How much arrived is for the file to tell. When a part did, only the next attempt tells why.
std::size_t RecordingFile::arrivedOf(std::string_view lines)
{
    std::error_code error;
    if (!std::filesystem::is_regular_file(m_path, error)) {
        return 0;
    }
    // Windows need not know the size of a file that is open.
    m_file.close();
    const auto size = std::filesystem::file_size(m_path, error);
    open(std::ios::app);
    const auto arrived = error || size < m_size ? 0 : size - m_size;
    return static_cast<std::size_t>(std::min<std::uintmax_t>(arrived, lines.size()));
}

void RecordingFile::keepWholeLines(std::string_view arrived)
{
    const auto kept = arrived.substr(0, arrived.rfind('\n') + 1);
    m_latest += kept;
    m_size += kept.size();
    m_rows += rowsIn(kept);
    cutBack();
}

void RecordingFile::cutBack()
{
    std::error_code error;
    if (std::filesystem::is_regular_file(m_path, error)) {
        m_file.close();
        std::filesystem::resize_file(m_path, m_size, error);
        m_file.clear();
        open(std::ios::app);
    }
}

void RecordingFile::makeRoom(std::size_t bytes)
{
    std::size_t freed = 0;
    while (freed < bytes) {
        const std::size_t begin = beginOfLastLine(m_latest);
        if (!isRow(std::string_view(m_latest).substr(begin))) {
            break;
        }
        freed += m_latest.size() - begin;
        m_latest.resize(begin);
        --m_rows;
    }
    m_size -= freed;
    cutBack();
}

void RecordingFile::fail(int error) const
{
    throw CommandFailure({.problem = "could not write to " + m_name + ": " +
                                     (error != 0 ? std::strerror(error) : "output error")});
}

} // namespace zel::cli
