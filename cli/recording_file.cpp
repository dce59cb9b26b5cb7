#include "recording_file.h"

#include "command_failure.h"
#include "console.h"
#include "file_content.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

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
    for (; !lines.empty(); lines.remove_prefix(lines.find('\n') + 1))
        rows += isRow(lines) ? 1U : 0U;
    return rows;
}

} // namespace

RecordingFile::RecordingFile(CommandOutput& output, const std::string& name, bool mayReplace)
    : m_output(output), m_name(name)
{
    if (name.empty()) {
        m_file = output.file();
        m_size = sizeOf(m_file).value_or(0);
        return;
    }
    requireNewFile(name, mayReplace);
    m_file = openToWrite(hostPath(name));
    if (m_file < 0) {
        throw CommandFailure({.problem = "could not create " + name + ": " + std::strerror(errno),
                              .advice = "does the folder exist, and may you write there?"});
    }
}

RecordingFile::~RecordingFile()
{
    if (!m_name.empty() && m_file >= 0)
        closeFile(m_file);
}

void RecordingFile::write(std::string_view lines, std::uint64_t rows)
{
    m_hasFailed = true; // unless it gets to the end of this
    if (m_file < 0) {
        m_output.bytes(lines);
        m_output.finish();
    } else if (const std::size_t arrived = append(lines); arrived == lines.size()) {
        m_latest = lines;
    } else {
        const int error = errno;
        keepWholeLines(lines.substr(0, arrived));
        fail(error);
    }
    m_hasFailed = false;
    m_rows += rows;
}

void RecordingFile::close()
{
    if (!m_name.empty() && m_file >= 0 && !closeFile(std::exchange(m_file, -1)))
        fail(errno);
}

void RecordingFile::breakOff(const std::string& line)
{
    if (m_file < 0) {
        if (m_name.empty())
            m_output.bytes(line);
        return;
    }
    std::size_t arrived = append(line);
    if (arrived < line.size()) {
        m_size -= arrived;
        makeRoom(line.size());
        arrived = append(line);
    }
    if (arrived < line.size()) {
        m_size -= arrived;
        cutTo(m_file, m_size);
    }
}

std::size_t RecordingFile::append(std::string_view text)
{
    std::size_t arrived = writeTo(m_file, text);
    if (arrived < text.size()) {
        const int error = errno;
        const std::uint64_t size = sizeOf(m_file).value_or(0);
        arrived =
            size < m_size + arrived
                ? arrived
                : static_cast<std::size_t>(std::min<std::uint64_t>(size - m_size, text.size()));
        errno = error;
    }
    m_size += arrived;
    return arrived;
}

void RecordingFile::keepWholeLines(std::string_view arrived)
{
    const auto kept = arrived.substr(0, arrived.rfind('\n') + 1);
    m_latest += kept;
    m_size -= arrived.size() - kept.size();
    m_rows += rowsIn(kept);
    cutTo(m_file, m_size);
}

void RecordingFile::makeRoom(std::size_t bytes)
{
    std::size_t freed = 0;
    while (freed < bytes) {
        const std::size_t begin = beginOfLastLine(m_latest);
        if (!isRow(std::string_view(m_latest).substr(begin)))
            break;
        freed += m_latest.size() - begin;
        m_latest.resize(begin);
        --m_rows;
    }
    m_size -= freed;
    cutTo(m_file, m_size);
}

void RecordingFile::fail(int error) const
{
    throw CommandFailure({.problem = "could not write to " + name() + ": " +
                                     (error != 0 ? std::strerror(error) : "output error")});
}

} // namespace zel::cli
