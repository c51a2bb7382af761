#include "loggerctl/output/CTable.h"

#include "loggerctl/output/SafeText.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <utility>

namespace output {

namespace {

constexpr char kIndent[] = "  ";
constexpr std::size_t kGap = 2;
constexpr std::size_t kLeastFirstColumn = 12;

// By style.
constexpr std::array kSequences{"",         "\033[1m",  "\033[2m", "\033[2m",
                                "\033[32m", "\033[33m", "\033[31m"};

} // namespace

std::string Styled(const std::string& text, TextStyle style, bool colour) {
    if (!colour || style == TextStyle::Plain) {
        return text;
    }
    return kSequences.at(static_cast<std::size_t>(style)) + text + "\033[0m";
}

CTable::CTable(std::vector<Column> columns) {
    Row headings;
    for (Column& column : columns) {
        const TextStyle style = headings.empty() ? TextStyle::Title : TextStyle::Heading;
        headings.push_back({std::move(column.m_heading), style});
        m_aligns.push_back(column.m_align);
    }
    AddLine(std::move(headings));
}

void CTable::AddRow(Row row) {
    row.resize(m_aligns.size());
    row.front().m_text.insert(0, kIndent);
    AddLine(std::move(row));
}

std::string CTable::Text(const CTerminal& terminal) const {
    const std::vector<std::size_t> widths = ColumnWidths(terminal.m_columns);
    std::string text;
    text.reserve(m_lines.size() *
                 std::accumulate(widths.begin(), widths.end(), kGap * widths.size()));
    for (std::size_t line = 0; line < m_lines.size(); ++line) {
        AppendLine(line, widths, terminal.m_colour, &text);
    }
    return text;
}

void CTable::AddLine(Row row) {
    for (const Cell& cell : row) {
        m_cellWidths.push_back(Width(cell.m_text));
    }
    m_lines.push_back(std::move(row));
}

std::vector<std::size_t> CTable::ColumnWidths(std::size_t terminalColumns) const {
    const std::size_t count = m_aligns.size();
    std::vector<std::size_t> widths(count, 0);
    std::size_t others = 0;
    for (std::size_t column = 1; column < count; ++column) {
        for (std::size_t cell = column; cell < m_cellWidths.size(); cell += count) {
            widths[column] = std::max(widths[column], m_cellWidths[cell]);
        }
        others += kGap + widths[column];
    }
    const std::size_t room = terminalColumns > others ? terminalColumns - others : 0;
    const std::size_t greatest = std::max(room, kLeastFirstColumn);
    widths.front() = m_cellWidths.front();
    for (std::size_t cell = count; cell < m_cellWidths.size(); cell += count) {
        if (m_cellWidths[cell] <= greatest) {
            widths.front() = std::max(widths.front(), m_cellWidths[cell]);
        }
    }
    return widths;
}

void CTable::AppendLine(std::size_t line, const std::vector<std::size_t>& widths, bool colour,
                        std::string* text) const {
    std::size_t pending = 0; // blanks that are written only when something follows them
    for (std::size_t i = 0; i < widths.size(); ++i) {
        const Cell& cell = m_lines[line][i];
        const std::size_t width = m_cellWidths[line * widths.size() + i];
        const std::size_t padding = widths[i] > width ? widths[i] - width : 0;
        const bool right = m_aligns[i] == Align::Right;
        if (!cell.m_text.empty()) {
            text->append(pending + (right ? padding : 0), ' ');
            *text += Styled(cell.m_text, cell.m_style, colour);
            pending = (right ? 0 : padding) + kGap;
        } else {
            pending += padding + kGap;
        }
        if (width > widths[i]) {
            *text += '\n';
            pending = widths[i] + kGap;
        }
    }
    *text += '\n';
}

} // namespace output
