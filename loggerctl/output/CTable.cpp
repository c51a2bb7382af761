#include "loggerctl/output/CTable.h"

#include "loggerctl/output/CSafeText.h"

#include <algorithm>
#include <utility>

namespace {

constexpr char kIndent[] = "  ";
constexpr std::size_t kGap = 2;
constexpr std::size_t kLeastFirstColumn = 12;

const char* SequenceOf(TextStyle style) {
    switch (style) {
    case TextStyle::Title:
        return "\033[1m";
    case TextStyle::Heading:
    case TextStyle::Dim:
        return "\033[2m";
    case TextStyle::Good:
        return "\033[32m";
    case TextStyle::Warning:
        return "\033[33m";
    case TextStyle::Bad:
        return "\033[31m";
    case TextStyle::Plain:
        break;
    }
    return "";
}

std::string Styled(const CTable::Cell& cell, bool colour) {
    if (!colour || cell.m_sText.empty() || cell.m_style == TextStyle::Plain) {
        return cell.m_sText;
    }
    return SequenceOf(cell.m_style) + cell.m_sText + "\033[0m";
}

} // namespace

CTable::CTable(std::vector<Column> columns) : m_columns(std::move(columns)) {}

void CTable::AddRow(Row row) {
    row.resize(m_columns.size());
    row.front().m_sText.insert(0, kIndent);
    m_rows.push_back(std::move(row));
}

std::string CTable::Text(const CTerminal& terminal) const {
    const std::vector<std::size_t> widths = Widths(terminal.m_columns);
    std::string text = RowText(HeadingRow(), widths, terminal.m_bColour);
    for (const Row& row : m_rows) {
        text += RowText(row, widths, terminal.m_bColour);
    }
    return text;
}

std::vector<std::size_t> CTable::Widths(std::size_t terminalColumns) const {
    std::vector<std::size_t> widths;
    std::size_t others = 0;
    for (std::size_t i = 1; i < m_columns.size(); ++i) {
        std::size_t width = CSafeText::Width(m_columns[i].m_sHeading);
        for (const Row& row : m_rows) {
            width = std::max(width, CSafeText::Width(row[i].m_sText));
        }
        widths.push_back(width);
        others += kGap + width;
    }
    const std::size_t room = terminalColumns > others ? terminalColumns - others : 0;
    const std::size_t greatest = std::max(room, kLeastFirstColumn);
    std::size_t first = CSafeText::Width(m_columns.front().m_sHeading);
    for (const Row& row : m_rows) {
        const std::size_t width = CSafeText::Width(row.front().m_sText);
        first = width <= greatest ? std::max(first, width) : first;
    }
    widths.insert(widths.begin(), first);
    return widths;
}

CTable::Row CTable::HeadingRow() const {
    Row row;
    for (const Column& column : m_columns) {
        row.push_back({column.m_sHeading, row.empty() ? TextStyle::Title : TextStyle::Heading});
    }
    return row;
}

std::string CTable::RowText(const Row& row, const std::vector<std::size_t>& widths,
                            bool colour) const {
    std::string text;
    std::size_t pending = 0; // blanks that are written only when something follows them
    for (std::size_t i = 0; i < row.size(); ++i) {
        const std::size_t width = CSafeText::Width(row[i].m_sText);
        const std::size_t padding = widths[i] > width ? widths[i] - width : 0;
        const bool right = m_columns[i].m_align == Align::Right;
        if (!row[i].m_sText.empty()) {
            text += std::string(pending + (right ? padding : 0), ' ') + Styled(row[i], colour);
            pending = (right ? 0 : padding) + kGap;
        } else {
            pending += padding + kGap;
        }
        if (width > widths[i]) {
            text += '\n';
            pending = widths[i] + kGap;
        }
    }
    return text + '\n';
}
