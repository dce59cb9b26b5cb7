#include "text_table.h"

#include "printable.h"

#include <algorithm>

namespace zel::cli {

namespace {

constexpr std::size_t kGap = 2;

void appendCell(std::string& line, const std::string& cell, std::size_t width, Align align)
{
    const std::size_t padding = width - std::min(width, columns(cell));
    if (!line.empty())
        line.append(kGap, ' ');
    line.append(align == Align::right ? padding : 0, ' ');
    line += cell;
    line.append(align == Align::left ? padding : 0, ' ');
}

void endLine(std::string& text, std::string& line)
{
    line.erase(line.find_last_not_of(' ') + 1);
    text += line + '\n';
    line.clear();
}

} // namespace

void TextTable::addRow(std::vector<std::string> cells)
{
    cells.resize(m_columns.size());
    for (auto& cell : cells)
        cell = printable(cell);
    m_rows.push_back(std::move(cells));
}

std::string TextTable::text() const
{
    std::vector<std::size_t> widths;
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        std::size_t width = columns(m_columns[i].heading);
        for (const auto& row : m_rows)
            width = std::max(width, columns(row[i]));
        widths.push_back(width);
    }
    std::string text;
    std::string line;
    for (std::size_t i = 0; i < m_columns.size(); ++i)
        appendCell(line, m_columns[i].heading, widths[i], m_columns[i].align);
    endLine(text, line);
    for (const auto& row : m_rows) {
        for (std::size_t i = 0; i < m_columns.size(); ++i)
            appendCell(line, row[i], widths[i], m_columns[i].align);
        endLine(text, line);
    }
    return text;
}

} // namespace zel::cli
