#include "loggerctl/commands/Commands.h"
#include "loggerctl/doctor/DescriptionChecks.h"
#include "loggerctl/doctor/HostChecks.h"
#include "loggerctl/doctor/ServerChecks.h"
#include "loggerctl/output/CTable.h"
#include "loggerctl/output/SafeText.h"

#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <sstream>

namespace commands {

namespace {

using doctor::CFinding;
using doctor::CFindings;
using doctor::State;
using output::CAnswer;
using output::ExitCode;
using output::TextStyle;
using Json = nlohmann::ordered_json;

constexpr std::size_t kStateColumn = 15; // where what was found begins
constexpr std::size_t kLeastColumns = 40;
constexpr char kMendIndent[] = "    ";

struct CStateTexts {
    const char* m_name; // for programs
    const char* m_word;
    TextStyle m_style;
};

CStateTexts TextsOf(State state) {
    switch (state) {
    case State::Ok:
        return {"ok", "ok", TextStyle::Good};
    case State::Missing:
        return {"missing", "missing", TextStyle::Bad};
    case State::Wrong:
        return {"wrong", "wrong", TextStyle::Bad};
    default:
        return {"not-looked-at", "not looked at", TextStyle::Warning};
    }
}

// The findings of one kind.
template <class Predicate>
std::size_t Count(const CFindings& findings, Predicate predicate) {
    return static_cast<std::size_t>(std::count_if(findings.begin(), findings.end(), predicate));
}

std::size_t CountToMend(const CFindings& findings) {
    return Count(findings, [](const CFinding& finding) { return finding.NeedsMending(); });
}

std::size_t CountWithoutRights(const CFindings& findings) {
    return Count(findings, [](const CFinding& finding) { return finding.m_lacksRights; });
}

// The state, then name and text beside it, broken to the terminal's width; and the command in a
// line of its own, whole, so that it can be copied.
std::string TextOf(const CFinding& finding, const output::CTerminal& terminal) {
    const CStateTexts state = TextsOf(finding.m_state);
    const std::size_t columns = std::max(terminal.m_columns, kLeastColumns) - kStateColumn;
    std::istringstream lines(
        output::BrokenIntoLines(finding.m_name + ": " + finding.m_text, columns));
    std::string text = output::Styled(state.m_word, state.m_style, terminal.m_colour) +
                       std::string(kStateColumn - std::string(state.m_word).size(), ' ');
    std::string indent;
    for (std::string line; std::getline(lines, line);) {
        text += indent;
        text += line + "\n";
        indent = std::string(kStateColumn, ' ');
    }
    return finding.m_mend.empty() ? text : text + kMendIndent + finding.m_mend + "\n";
}

std::string Things(std::size_t count) {
    return count == 1 ? "1 thing" : std::to_string(count) + " things";
}

// The last sentence, which says what to do.
std::string Summary(const CFindings& findings) {
    const std::size_t toMend = CountToMend(findings);
    const std::size_t withoutRights = CountWithoutRights(findings);
    std::string text;
    if (toMend != 0) {
        text = Things(toMend) + (toMend == 1 ? " needs" : " need") +
               " mending. Run the commands from the top, then \"loggerctl doctor\" again.";
    }
    if (withoutRights != 0) {
        text += (text.empty() ? "" : " ") + Things(withoutRights) +
                " could not be looked at: run \"loggerctl doctor\" as root.";
    }
    return text.empty() ? "All is well." : text;
}

Json DocumentOf(const CFindings& findings, ExitCode code) {
    Json list = Json::array();
    for (const CFinding& finding : findings) {
        list.push_back({{"name", finding.m_name},
                        {"looked_at", finding.m_lookedAt},
                        {"state", TextsOf(finding.m_state).m_name},
                        {"text", finding.m_text},
                        {"mend", finding.m_mend.empty() ? Json() : Json(finding.m_mend)}});
    }
    return {{"healthy", code == ExitCode::Success}, {"findings", list}};
}

ExitCode CodeOf(const CFindings& findings) {
    if (CountToMend(findings) != 0) {
        return ExitCode::Failure;
    }
    return CountWithoutRights(findings) != 0 ? ExitCode::NoRights : ExitCode::Success;
}

} // namespace

Result Doctor(const agent::CProviderFiles& files) {
    CFindings findings = doctor::LookAtAgent();
    for (CFindings more : {doctor::LookAtHost(files), doctor::LookAtServer()}) {
        std::move(more.begin(), more.end(), std::back_inserter(findings));
    }
    const output::CTerminal terminal = output::CTerminal::Of(STDOUT_FILENO);
    CAnswer answer;
    answer.m_code = CodeOf(findings);
    for (const CFinding& finding : findings) {
        answer.m_text += TextOf(finding, terminal);
    }
    answer.m_text += "\n" + output::BrokenIntoLines(Summary(findings), terminal.m_columns) + "\n";
    answer.m_document = DocumentOf(findings, answer.m_code);
    return answer;
}

} // namespace commands
