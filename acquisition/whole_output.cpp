#include "whole_output.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace zel::acquisition {

namespace {

bool isRow(std::string_view line)
{
    return !line.empty() && (line[0] == '-' || (line[0] >= '0' && line[0] <= '9'));
}

std::uint64_t rowsIn(std::string_view lines)
{
    std::uint64_t rows = 0;
    for (std::size_t end = 0; end != std::string_view::npos;) {
        rows += isRow(lines) ? 1U : 0U;
        end = lines.find('\n');
        lines.remove_prefix(end == std::string_view::npos ? 0 : end + 1);
    }
    return rows;
}

} // namespace

WholeOutput::WholeOutput(const OutputTarget& target, std::size_t size)
    : m_file(target), m_size(size)
{
}

std::size_t WholeOutput::wholePart(std::string_view bytes) const
{
    return m_size == 0 ? bytes.rfind('\n') + 1 : bytes.size() - bytes.size() % m_size;
}

void WholeOutput::remember(std::string_view written)
{
    constexpr std::size_t kMost = 1U << 16U;
    if (!m_file.isRegular() || m_size != 0)
        return;
    if (written.size() >= kMost)
        m_latest.clear();
    m_latest += written.substr(written.size() - std::min(written.size(), kMost));
    if (m_latest.size() > 2 * kMost)
        m_latest.erase(0, m_latest.size() - kMost);
}

bool WholeOutput::write()
{
    if (m_waiting.isEmpty())
        return true;
    const std::string_view text = m_waiting.text();
    std::size_t arrived = m_file.write(text);
    const bool isAll = arrived == text.size();
    if (!isAll) {
        const std::size_t whole = wholePart(text.substr(0, arrived));
        if (m_file.takeBack(arrived - whole))
            arrived = whole;
    }
    remember(text.substr(0, arrived));
    m_waiting.drop(arrived);
    return isAll;
}

void WholeOutput::finish(std::string (*line)(const std::string&), const std::string& cause)
{
    if (write()) {
        m_file.close();
        return;
    }
    const std::string failure =
        "could not write to " + m_file.name() + ": " + std::strerror(ENOSPC);
    if (m_size == 0)
        m_rowsLeft = rowsIn(m_waiting.text());
    m_waiting.drop(m_waiting.size());
    if (line != nullptr && m_file.isRegular()) {
        const std::string last = line(cause.empty() ? failure : cause + "; " + failure);
        if (!append(last)) {
            makeRoom(last.size());
            append(last);
        }
    }
    m_file.close();
    throw SinkFailure(failure);
}

bool WholeOutput::append(const std::string& line)
{
    const std::size_t arrived = m_file.write(line);
    if (arrived < line.size())
        m_file.takeBack(arrived);
    return arrived == line.size();
}

void WholeOutput::makeRoom(std::size_t bytes)
{
    std::size_t kept = m_latest.size();
    std::uint64_t rows = 0;
    while (kept >= 2 && m_latest.size() - kept < bytes) {
        const std::size_t begin = m_latest.rfind('\n', kept - 2);
        if (begin == std::string::npos || !isRow(std::string_view(m_latest).substr(begin + 1)))
            break;
        kept = begin + 1;
        ++rows;
    }
    if (m_file.takeBack(m_latest.size() - kept))
        m_rowsLeft += rows;
}

} // namespace zel::acquisition
