#pragma once

#include "loggerctl/output/CTerminal.h"

#include <cstddef>
#include <string>
#include <vector>

// How text looks where colour is allowed.
enum class TextStyle { Plain, Title, Heading, Dim, Good, Warning, Bad };

// One aligned table. Its first column is as wide as its widest cell that leaves room for the other
// columns on the terminal; a cell that does not fit has a line of its own, and the rest of its row
// stands in the columns below it.
class CTable {
public:
    enum class Align { Left, Right };
    struct Column {
        std::string m_sHeading;
        Align m_align = Align::Left;
    };
    struct Cell {
        std::string m_sText;
        TextStyle m_style = TextStyle::Plain;
    };
    using Row = std::vector<Cell>;

    // The first column's heading is the table's title. All texts must be safe to print.
    explicit CTable(std::vector<Column> columns);

    // One cell a column; cells left out at the end are empty.
    void AddRow(Row row);

    // The lines of the table, each ended by a newline and without blanks at its end.
    [[nodiscard]] std::string Text(const CTerminal& terminal) const;

private:
    [[nodiscard]] std::vector<std::size_t> Widths(std::size_t terminalColumns) const;
    [[nodiscard]] Row HeadingRow() const;
    [[nodiscard]] std::string RowText(const Row& row, const std::vector<std::size_t>& widths,
                                      bool colour) const;

    std::vector<Column> m_columns;
    std::vector<Row> m_rows;
};
