#include "loggerctl/commands/CHistoryCommand.h"

#include "history/CHistory.h"
#include "loggerctl/output/COutput.h"
#include "loggerctl/output/CSafeText.h"
#include "loggerctl/output/CTable.h"

#include <nlohmann/json.hpp>

#include <unistd.h>

#include <array>
#include <limits>

namespace {

using Json = nlohmann::ordered_json;

struct Line {
    CHistoryEntry m_entry;
    std::vector<std::string> m_differs; // the files that are not as they are now
};

std::optional<std::vector<Line>> ReadLines(std::string* error) {
    const auto entries = CHistory::List(error);
    if (!entries) {
        return std::nullopt;
    }
    const auto now = CSettingsCopy::OfNow(CSettingsCopy::Missing::Allow, error);
    if (!now) {
        return std::nullopt;
    }
    std::vector<Line> lines;
    for (const CHistoryEntry& entry : *entries) {
        const auto copy = CHistory::Load(entry.m_sId, error);
        if (!copy) {
            return std::nullopt;
        }
        lines.push_back({entry, copy->DifferentNames(*now)});
    }
    return lines;
}

std::string TimeText(const char* format, const std::tm& parts) {
    std::array<char, 64> text{};
    std::strftime(text.data(), text.size(), format, &parts);
    return text.data();
}

std::string LocalTime(std::time_t time) {
    std::tm parts{};
    localtime_r(&time, &parts);
    return TimeText("%Y-%m-%d %H:%M:%S", parts);
}

std::string UniversalTime(std::time_t time) {
    std::tm parts{};
    gmtime_r(&time, &parts);
    return TimeText("%Y-%m-%dT%H:%M:%SZ", parts);
}

std::string Differs(const std::vector<std::string>& names) {
    switch (names.size()) {
    case 0:
        return "-";
    case 1:
        return CSafeText::Escape(names.front());
    default:
        return "both files";
    }
}

std::string Table(const std::vector<Line>& lines) {
    if (lines.empty()) {
        return "The history is empty.\n";
    }
    CTable table({{"History"}, {"Made"}, {"Differs"}, {"Reason"}});
    for (const Line& line : lines) {
        table.AddRow({{line.m_entry.m_sId},
                      {LocalTime(line.m_entry.m_time)},
                      {Differs(line.m_differs)},
                      {CSafeText::Escape(line.m_entry.m_sReason)}});
    }
    CTerminal terminal = CTerminal::Of(STDOUT_FILENO);
    terminal.m_columns = std::numeric_limits<std::size_t>::max(); // IDs stay with their entries
    return table.Text(terminal);
}

std::string JsonText(const std::vector<Line>& lines) {
    Json list = Json::array();
    for (const Line& line : lines) {
        list.push_back({{"Id", line.m_entry.m_sId},
                        {"Time", UniversalTime(line.m_entry.m_time)},
                        {"Reason", line.m_entry.m_sReason},
                        {"Differs", line.m_differs}});
    }
    constexpr int kIndent = 2;
    return list.dump(kIndent, ' ', true, Json::error_handler_t::replace) + '\n';
}

} // namespace

ExitCode CHistoryCommand::Run(bool json) {
    std::string error;
    const auto lines = ReadLines(&error);
    if (!lines) {
        COutput::WriteError("The history cannot be shown.", {error});
        return ExitCode::Failure;
    }
    return COutput::Write(json ? JsonText(*lines) : Table(*lines)) ? ExitCode::Success
                                                                   : ExitCode::Failure;
}
