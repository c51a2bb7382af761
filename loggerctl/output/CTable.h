#pragma once

#include "loggerctl/output/CTerminal.h"

#include <cstddef>
#include <string>
#include <vector>

namespace output {

// How text looks where colour is allowed.
enum class TextStyle { Plain, Title, Heading, Dim, Good, Warning, Bad };

// The text in its style, where colour is allowed.
std::string Styled(const std::string& text, TextStyle style, bool colour);

// One aligned table. Its first column is as wide as its widest cell that leaves room for the other
// columns on the terminal; a cell that does not fit has a line of its own, and the rest of its row
// stands in the columns below it.
class CTable {
public:
    enum class Align { Left, Right };
    struct Column {
        std::string m_heading;
        Align m_align = Align::Left;
    };
    struct Cell {
        std::string m_text;
        TextStyle m_style = TextStyle::Plain;
    };
    using Row = std::vector<Cell>;

    // The first column's heading is the table's title. All texts must be safe to print.
    explicit CTable(std::vector<Column> columns);

    // One cell a column; cells left out at the end are empty. Their widths are those of the locale
    // at this time.
    void AddRow(Row row);

    // The lines of the table, each ended by a newline and without blanks at its end.
    [[nodiscard]] std::string Text(const CTerminal& terminal) const;

private:
    void AddLine(Row row);
    [[nodiscard]] std::vector<std::size_t> ColumnWidths(std::size_t terminalColumns) const;
    void AppendLine(std::size_t line, const std::vector<std::size_t>& widths, bool colour,
                    std::string* text) const;

    std::vector<Align> m_aligns;           // one for each column
    std::vector<Row> m_lines;              // the headings, then the rows
    std::vector<std::size_t> m_cellWidths; // of all lines, one after the other
};

} // namespace output
