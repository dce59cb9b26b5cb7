#pragma once

#include <string>
#include <vector>

namespace zel::cli {

enum class Align { left, right };

/// Rows under headings, each column as wide as its widest cell.
class TextTable {
public:
    struct Column {
        std::string heading;
        Align align = Align::left;
    };

    explicit TextTable(std::vector<Column> columns) : m_columns(std::move(columns)) {}

    /// One cell for each column.
    void addRow(std::vector<std::string> cells);

    bool isEmpty() const { return m_rows.empty(); }
    std::string text() const;

private:
    std::vector<Column> m_columns;
    std::vector<std::vector<std::string>> m_rows;
};

} // namespace zel::cli
