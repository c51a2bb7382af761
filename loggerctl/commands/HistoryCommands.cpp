#include "loggerctl/agent/SettingsFiles.h"
#include "loggerctl/commands/Commands.h"
#include "loggerctl/commands/HistoryChoice.h"
#include "loggerctl/output/CTable.h"
#include "loggerctl/output/SafeText.h"
#include "loggerctl/output/TimeText.h"
#include "loggerctl/output/UnifiedDiff.h"
#include "loggerctl/record/Suggestion.h"

#include <unistd.h>

#include <array>
#include <cstdio>
#include <limits>

namespace commands {

namespace {

using history::CEntry;
using output::CAnswer;
using output::ExitCode;
using output::Expected;
using output::Fail;
using Json = nlohmann::ordered_json;
using Texts = std::vector<std::string>;

// An entry, and the files that are not as they are now.
struct CLine {
    CEntry m_entry;
    Texts m_differs;
};

Expected<std::vector<CLine>> ReadLines() {
    constexpr char kNotShown[] = "The history cannot be shown.";
    const auto entries = history::List();
    if (!entries) {
        return tl::unexpected(agent::ToFailure(kNotShown, entries.error()));
    }
    const auto now = history::CSettingsCopy::OfNow(history::CSettingsCopy::Missing::Allow);
    if (!now) {
        return tl::unexpected(agent::ToFailure(kNotShown, now.error()));
    }
    std::vector<CLine> lines;
    for (const CEntry& entry : *entries) {
        const auto copy = history::Load(entry.m_id);
        if (!copy) {
            return tl::unexpected(agent::ToFailure(kNotShown, copy.error()));
        }
        lines.push_back({entry, copy->DifferentNames(*now)});
    }
    return lines;
}

std::string DiffersText(const Texts& names) {
    switch (names.size()) {
    case 0:
        return "-";
    case 1:
        return names.front();
    default:
        return "both files";
    }
}

// "root (alice, 192.0.2.7)".
std::string OriginText(const history::COrigin& origin) {
    std::string behind = origin.m_sudoUser;
    if (!origin.m_from.empty()) {
        behind += (behind.empty() ? "" : ", ") + origin.m_from;
    }
    const std::string text = origin.m_user + (behind.empty() ? "" : " (" + behind + ")");
    return text.empty() ? "-" : output::Escape(text);
}

std::string Table(const std::vector<CLine>& lines) {
    using output::CTable;
    if (lines.empty()) {
        return "The history is empty.\n";
    }
    CTable table({{"History"}, {"ID"}, {"Made"}, {"By"}, {"Differs"}, {"Reason"}});
    std::size_t number = 0;
    for (const CLine& line : lines) {
        table.AddRow({{std::to_string(++number)},
                      {line.m_entry.m_id},
                      {output::LocalTime(line.m_entry.m_time)},
                      {OriginText(line.m_entry.m_origin)},
                      {DiffersText(line.m_differs)},
                      {output::Escape(line.m_entry.m_reason)}});
    }
    output::CTerminal terminal = output::CTerminal::Of(STDOUT_FILENO);
    terminal.m_columns = std::numeric_limits<std::size_t>::max(); // numbers stay with their entries
    return table.Text(terminal);
}

Json Document(const std::vector<CLine>& lines) {
    Json list = Json::array();
    for (const CLine& line : lines) {
        list.push_back({{"Id", line.m_entry.m_id},
                        {"Time", output::UniversalTime(line.m_entry.m_time)},
                        {"Reason", output::JsonString(line.m_entry.m_reason)},
                        {"Differs", line.m_differs},
                        {"User", output::JsonString(line.m_entry.m_origin.m_user)},
                        {"SudoUser", output::JsonString(line.m_entry.m_origin.m_sudoUser)},
                        {"From", output::JsonString(line.m_entry.m_origin.m_from)},
                        {"Missing", line.m_entry.m_missing}});
    }
    return list;
}

std::string Rights(const history::CFileImage& file) {
    if (file.m_missing) {
        return "missing";
    }
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "owner %u, group %u, mode %04o", file.m_owner,
                  file.m_group, file.m_mode);
    return text.data();
}

// A line for each file that has another owner, group or mode.
std::string RightsDifference(const history::CSettingsCopy& from, const history::CSettingsCopy& to) {
    std::string text;
    for (std::size_t i = 0; i < from.m_files.size(); ++i) {
        const std::string before = Rights(from.m_files[i]);
        const std::string after = Rights(to.m_files[i]);
        if (before != after) {
            text.append(history::CSettingsCopy::Name(i)).append(": ").append(before);
            text.append(" -> ").append(after).append("\n");
        }
    }
    return text;
}

tl::unexpected<output::CFailure> Unknown(const std::string& id,
                                         const std::vector<CEntry>& entries) {
    Texts ids;
    for (const CEntry& entry : entries) {
        ids.push_back(entry.m_id);
    }
    Texts reasons{"These are kept, newest first:"};
    reasons.insert(reasons.end(), ids.begin(), ids.end());
    return Fail(ExitCode::Usage,
                "There is no copy '" + output::Escape(id) + "'." + record::Question(id, ids),
                reasons);
}

// Both files at one time, to be compared: those of a copy with its ID, or those of now without one.
struct CState {
    std::string m_id;
    history::CSettingsCopy m_files;
};
constexpr char kNotCompared[] = "The files cannot be compared.";

Expected<CState> FindState(const std::optional<std::string>& id) {
    const Expected<CEntry> entry = FindEntry(id);
    if (!entry) {
        return tl::unexpected(entry.error());
    }
    const auto copy = history::Load(entry->m_id);
    if (!copy) {
        return tl::unexpected(agent::ToFailure(kNotCompared, copy.error()));
    }
    return CState{entry->m_id, *copy};
}

Expected<CState> ReadNow() {
    const auto now = history::CSettingsCopy::OfNow(history::CSettingsCopy::Missing::Allow);
    if (!now) {
        return tl::unexpected(agent::ToFailure(kNotCompared, now.error()));
    }
    return CState{"", *now};
}

} // namespace

Expected<CEntry> FindEntry(const std::optional<std::string>& id) {
    const auto entries = history::List();
    if (!entries) {
        return tl::unexpected(agent::ToFailure("The history cannot be read.", entries.error()));
    }
    if (entries->empty()) {
        return Fail(ExitCode::Failure,
                    "The history is empty: no copy of the settings files has been kept.");
    }
    std::size_t number = 0;
    for (const CEntry& entry : *entries) {
        if (!id || *id == entry.m_id || *id == std::to_string(++number)) {
            return entry;
        }
    }
    return Unknown(*id, *entries);
}

Result History() {
    const Expected<std::vector<CLine>> lines = ReadLines();
    if (!lines) {
        return tl::unexpected(lines.error());
    }
    CAnswer answer;
    answer.m_text = Table(*lines);
    answer.m_document = Document(*lines);
    return answer;
}

Result Diff(const std::optional<std::string>& id, const std::optional<std::string>& untilId) {
    const Expected<CState> from = FindState(id);
    if (!from) {
        return tl::unexpected(from.error());
    }
    const Expected<CState> until = untilId ? FindState(untilId) : ReadNow();
    if (!until) {
        return tl::unexpected(until.error());
    }
    const std::string rights = RightsDifference(from->m_files, until->m_files);
    const std::string texts = agent::Difference(from->m_files, until->m_files);
    CAnswer answer;
    answer.m_text = rights.empty() && texts.empty()
                        ? "Both files are as in " + from->m_id + ".\n"
                        : output::ForOutput(rights + texts, output::CTerminal::Of(STDOUT_FILENO));
    answer.m_document = {{"id", from->m_id},
                         {"until", untilId ? Json(until->m_id) : Json()},
                         {"rights", rights},
                         {"difference", output::JsonLines(texts)}};
    return answer;
}

} // namespace commands
