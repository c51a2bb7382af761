#include "history/CCallerLock.h"
#include "history/History.h"
#include "loggerctl/agent/CInterruptGuard.h"
#include "loggerctl/agent/CService.h"
#include "loggerctl/agent/Locks.h"
#include "loggerctl/agent/SettingsFiles.h"
#include "loggerctl/commands/Commands.h"
#include "loggerctl/commands/HostState.h"
#include "loggerctl/output/CTable.h"
#include "loggerctl/output/SafeText.h"
#include "loggerctl/output/UnifiedDiff.h"
#include "loggerctl/record/JsonRecord.h"
#include "loggerctl/record/Losses.h"
#include "loggerctl/record/Rehearsal.h"

#include <unistd.h>

#include <cstdlib>
#include <exception>
#include <memory>

namespace commands {

namespace {

using agent::Stage;
using output::CAnswer;
using output::CFailure;
using output::ExitCode;
using output::Expected;
using output::Fail;
using Json = nlohmann::ordered_json;
using Texts = std::vector<std::string>;

constexpr char kRefused[] = "Nothing was changed.";

Expected<std::vector<record::CAssignment>> ReadAssignments(const CSetOptions& options) {
    const Texts advice{"See \"loggerctl set --help\" for keys and values."};
    if (!options.m_recordFile.empty()) {
        return record::ReadRecord(options.m_recordFile);
    }
    if (options.m_assignments.empty()) {
        return Fail(ExitCode::Usage, "What is to be set? Give KEY=VALUE, or a record with --json.",
                    advice);
    }
    auto assignments = record::ParseAssignments(options.m_assignments);
    if (!assignments) {
        assignments.error().m_reasons = advice;
    }
    return assignments;
}

// What the history keeps as the reason for the change.
std::string ReasonFor(const CSetOptions& options) {
    std::string reason = options.m_force ? "set --force" : "set";
    for (const std::string& assignment : options.m_assignments) {
        reason += " " + assignment;
    }
    return options.m_recordFile.empty() ? reason : reason + " --json " + options.m_recordFile;
}

// One run of the command, from the reading of the present settings on.
class CSet {
public:
    CSet(output::CConsole* console, const agent::CProviderFiles& files, const CSetOptions& options)
        : m_console(console),
          m_files(files),
          m_options(options) {}

    // What nobody foresaw, such as a want of memory, fails the command with its state, too.
    Result Run(std::vector<record::CAssignment> assignments) {
        try {
            return RunSteps(std::move(assignments));
        } catch (const std::exception& exception) {
            return tl::unexpected(GivenUp(exception));
        }
    }

private:
    Result RunSteps(std::vector<record::CAssignment> assignments) {
        const Expected<void> prepared =
            ReadPresent()
                .and_then([&] { return MakeRequest(std::move(assignments)); })
                .and_then([this] { return HeedSlips(); })
                .and_then([this] { return Rehearse(); });
        if (!prepared) {
            return tl::unexpected(prepared.error());
        }
        if (m_changes.empty() && !m_options.m_force) {
            return NoChanges();
        }
        const Expected<void> heeded = HeedLosses();
        if (!heeded) {
            return tl::unexpected(heeded.error());
        }
        return m_options.m_dryRun ? ShowDifference() : Change();
    }

    // ---- Before anything is touched ----
    Expected<void> ReadPresent();
    Expected<void> MakeRequest(std::vector<record::CAssignment> assignments);
    Expected<void> HeedSlips();
    Expected<void> Rehearse();
    Expected<void> HeedLosses();
    Result NoChanges();
    Result ShowDifference();

    // ---- The change ----
    Result Change();
    Expected<void> CheckHost();
    Expected<void> BeforeStop();
    bool BeforeStart();
    CFailure Failed(const agent::CChangeFailure& failure) const;
    CFailure GivenUp(const std::exception& exception) const;
    std::optional<CFailure> FindDeviation() const;
    [[noreturn]] void End() const;
    [[nodiscard]] CAnswer Answer(bool done) const;
    [[nodiscard]] std::string ChangesText() const;

    output::CConsole* const m_console;
    const agent::CProviderFiles& m_files;
    const CSetOptions& m_options;

    history::CSettingsCopy m_before; // the files as they were before the settings were read
    CLoggerConf m_present;
    record::CRequest m_request;
    record::CRehearsal m_rehearsal;
    std::vector<record::CChange> m_changes;
    Texts m_losses; // what would be lost besides what was asked for; it needs --force

    std::string m_historyId; // of the copies of m_before
    std::unique_ptr<agent::CInterruptGuard> m_guard;
    std::optional<history::CSettingsCopy> m_written; // the files when they had been verified
};

Expected<void> CSet::ReadPresent() {
    auto before = history::CSettingsCopy::OfNow(history::CSettingsCopy::Missing::Allow);
    Expected<CLoggerConf> present = agent::ReadSettings(m_files);
    if (!present) {
        return tl::unexpected(present.error());
    }
    if (!before) {
        return tl::unexpected(agent::ToFailure(kRefused, before.error()));
    }
    m_before = std::move(*before);
    m_present = std::move(*present);
    return {};
}

Expected<void> CSet::MakeRequest(std::vector<record::CAssignment> assignments) {
    if (!m_options.m_recordFile.empty()) {
        Texts sentences;
        for (const std::string& name : record::Reduce(m_present, &assignments)) {
            sentences.push_back("The file system '" + output::Escape(name) + "' is not mounted.");
        }
        if (!sentences.empty() && !m_options.m_skipUnmounted) {
            sentences.emplace_back("Mount what is missing, or leave it out with --skip-unmounted.");
            return Fail(ExitCode::Usage, kRefused, sentences);
        }
        if (!sentences.empty()) {
            m_console->Note("Note: parts of the record are left out.", sentences);
        }
    }
    Expected<record::CRequest> request = record::MakeRequest(m_present, assignments);
    if (!request) {
        return tl::unexpected(request.error());
    }
    m_request = std::move(*request);
    return {};
}

Expected<void> CSet::HeedSlips() {
    const Texts slips = record::FindSlips(m_request);
    if (!slips.empty() && !m_options.m_force) {
        return Fail(ExitCode::Usage,
                    std::string(kRefused) + " If this is what you want, add --force.", slips);
    }
    if (!slips.empty()) {
        m_console->Note("Warning:", slips);
    }
    return {};
}

Expected<void> CSet::Rehearse() {
    m_rehearsal = record::CRehearsal::Run(m_request.m_conf, m_before);
    if (!m_rehearsal.m_good) {
        const Texts problems = m_rehearsal.NameProblems();
        const std::string headline =
            std::string(kRefused) + " The settings could not be written and verified.";
        return problems.empty()
                   ? Fail(ExitCode::Failure, headline, agent::Explain(m_rehearsal.m_lines).m_texts)
                   : Fail(ExitCode::Usage, headline, problems);
    }
    m_changes = record::FindChanges(m_present, m_rehearsal.m_wanted);
    return {};
}

// What goes besides what was asked for wants --force; a dry run is there to show it.
Expected<void> CSet::HeedLosses() {
    const std::string& alert = m_before.m_files[1].m_text;
    m_losses = record::FindLostSwitches(m_request.m_conf);
    for (const Texts& more : {record::FindLostEntries(alert, m_rehearsal.m_wanted),
                              record::FindLostNumbers(alert, m_rehearsal.m_wanted)}) {
        m_losses.insert(m_losses.end(), more.begin(), more.end());
    }
    const bool needsForce = !m_losses.empty();
    if (needsForce && !m_options.m_force && !m_options.m_dryRun) {
        return Fail(ExitCode::Usage,
                    std::string(kRefused) +
                        " More would be lost than was asked for. If this is what you want, add "
                        "--force.",
                    m_losses);
    }
    if (needsForce) {
        m_console->Note(m_options.m_force ? "Warning: more is lost than was asked for."
                                          : "Warning: more would be lost than was asked for. The "
                                            "change needs --force.",
                        m_losses);
    }
    const Texts texts = record::FindLostText(alert, m_rehearsal.m_wanted);
    if (!texts.empty()) {
        m_console->Note("Note: lines of file systems are written anew.", texts);
    }
    return {};
}

Result CSet::NoChanges() {
    CAnswer answer = Answer(false);
    answer.m_text = "No changes.\n";
    if (!m_options.m_dryRun && agent::CService().FindState() == agent::CService::State::Stopped) {
        answer.m_text += "The agent's service is not running. To start it:  loggerctl service "
                         "start\n";
        answer.m_document["service"] = "stopped";
    }
    return answer;
}

Result CSet::ShowDifference() {
    CAnswer answer = Answer(false);
    const std::string difference = agent::Difference(m_before, m_rehearsal.m_files);
    answer.m_text = difference.empty()
                        ? "No changes.\n"
                        : output::ForOutput(difference, output::CTerminal::Of(STDOUT_FILENO));
    return answer;
}

Result CSet::Change() {
    const Expected<void> checked = CheckHost();
    if (!checked) {
        return tl::unexpected(checked.error());
    }
    const agent::CChangeSteps steps{[this] { return BeforeStop(); },
                                    [this] { return BeforeStart(); }};
    const auto failure = agent::ChangeSettings(m_files, m_rehearsal.m_wanted, steps);
    if (failure) {
        return tl::unexpected(Failed(*failure));
    }
    const std::optional<CFailure> deviation = FindDeviation();
    if (deviation) {
        return tl::unexpected(*deviation);
    }
    return Answer(true);
}

// All that can be found out before the service is stopped.
Expected<void> CSet::CheckHost() {
    Texts reasons;
    ExitCode code = ExitCode::Failure;
    for (const char* path : history::CSettingsCopy::kPaths) {
        const agent::CReason reason = agent::WhyNotWritten(path);
        if (!reason.m_text.empty()) {
            reasons.push_back(reason.m_text);
            code = reason.m_code;
        }
    }
    if (!reasons.empty()) {
        return Fail(code, kRefused, reasons);
    }
    const agent::CReason room = agent::WhyNoRoom(m_rehearsal.m_files);
    if (!room.m_text.empty()) {
        return tl::unexpected(agent::ToFailure(kRefused, room));
    }
    return agent::CService().CheckCommands(kRefused);
}

// Under the settings lock: from here on nobody else who takes it writes to the files.
Expected<void> CSet::BeforeStop() {
    const auto now = history::CSettingsCopy::OfNow(history::CSettingsCopy::Missing::Allow);
    if (!now) {
        return tl::unexpected(agent::ToFailure(kRefused, now.error()));
    }
    if (!now->HasSameTexts(m_before)) {
        return Fail(ExitCode::Failure, kRefused,
                    {"Somebody else, such as a console or an editor, has just changed the settings "
                     "files. Look at them, and try again."});
    }
    const auto id = history::Save(*now, ReasonFor(m_options), FindOrigin());
    if (!id) {
        return tl::unexpected(agent::ToFailure(kRefused, id.error()));
    }
    m_historyId = *id;
    m_guard = std::make_unique<agent::CInterruptGuard>([this] { End(); });
    return {};
}

bool CSet::BeforeStart() {
    const auto written = history::CSettingsCopy::OfNow(history::CSettingsCopy::Missing::Allow);
    if (written) {
        m_written = *written;
    }
    return !m_guard->IsGivenUp();
}

CFailure CSet::Failed(const agent::CChangeFailure& failure) const {
    CFailure failed = failure.m_failure;
    if (m_historyId.empty()) { // nothing was begun
        return failed;
    }
    failed.m_state = FindHostState(m_before, failure.m_stage, m_historyId);
    if (m_guard->IsGivenUp()) {
        failed.m_headline = "Interrupted twice: the change was given up.";
        failed.m_reasons.clear();
        failed.m_state->m_stage = kGivenUp;
    }
    return failed;
}

CFailure CSet::GivenUp(const std::exception& exception) const {
    const std::string reason =
        "The command cannot go on: " + output::Escape(exception.what()) + ".";
    if (m_historyId.empty()) {
        return {ExitCode::Failure, kRefused, {reason, "Try again."}, {}};
    }
    return {ExitCode::Failure,
            "The change was given up.",
            {reason},
            FindHostState(m_before, Stage::Unknown, m_historyId)};
}

// The provider compares settings; this compares every byte of the files.
std::optional<CFailure> CSet::FindDeviation() const {
    const auto now = history::CSettingsCopy::OfNow(history::CSettingsCopy::Missing::Allow);
    if (!now) {
        return CFailure{ExitCode::Failure,
                        "The settings were changed, but the files cannot be read to see that they "
                        "are right.",
                        {now.error().m_text},
                        FindHostStateAgainst(m_rehearsal.m_files, m_historyId)};
    }
    if (now->HasSameTexts(m_rehearsal.m_files)) {
        return std::nullopt;
    }
    const bool verified = m_written && m_written->HasSameTexts(m_rehearsal.m_files);
    CFailure failure{ExitCode::Failure,
                     verified ? "The settings were changed, but somebody else has changed the "
                                "files since."
                              : "The settings files are not what was to be written.",
                     {},
                     FindHostStateAgainst(m_rehearsal.m_files, m_historyId)};
    if (!verified) {
        failure.m_reasons.emplace_back("Something was not written, for the disk is full or broken, "
                                       "or somebody else wrote at the same time.");
    }
    return failure;
}

// What was begun does not come to its end.
void CSet::End() const {
    CFailure failure{ExitCode::Failure,
                     "Interrupted twice: the change was given up while it was under way.",
                     {},
                     FindHostState(m_before, Stage::Unknown, m_historyId, Asking::TakesTooLong)};
    failure.m_state->m_stage = kGivenUp;
    std::_Exit(static_cast<int>(m_console->Finish(tl::unexpected(failure))));
}

CAnswer CSet::Answer(bool done) const {
    CAnswer answer;
    if (done) {
        answer.m_text = ChangesText() +
                        "\nThe agent's service was restarted. The files as they were are kept: "
                        "loggerctl restore " +
                        m_historyId + "\n";
    }
    Json settings = Json::array();
    for (const record::CChange& change : m_changes) {
        settings.push_back(
            {{"key", output::JsonString(change.m_text)},
             {"old", std::visit([](auto value) { return Json(value); }, change.m_old)},
             {"new", std::visit([](auto value) { return Json(value); }, change.m_new)}});
    }
    const bool written = done || m_options.m_dryRun;
    answer.m_document = {
        {"changed", !m_changes.empty() || (done && m_options.m_force)},
        {"dry_run", m_options.m_dryRun},
        {"settings", settings},
        {"difference",
         output::JsonLines(written ? agent::Difference(m_before, m_rehearsal.m_files) : "")},
        {"history_id", m_historyId.empty() ? Json() : Json(m_historyId)},
        {"service_restarted", done}};
    if (m_options.m_dryRun) {
        answer.m_document["needs_force"] = !m_losses.empty();
        answer.m_document["losses"] = m_losses;
    }
    return answer;
}

std::string CSet::ChangesText() const {
    if (m_changes.empty()) {
        return "No setting has changed; the files were written again.\n";
    }
    using output::CTable;
    CTable table({{"Changed"}, {"", CTable::Align::Right}, {""}, {""}});
    for (const record::CChange& change : m_changes) {
        table.AddRow({{output::Escape(change.m_text)},
                      {record::TextOf(change.m_old)},
                      {"->"},
                      {record::TextOf(change.m_new)}});
    }
    return table.Text(output::CTerminal::Of(STDOUT_FILENO));
}

} // namespace

Result Set(output::CConsole* console, const agent::CProviderFiles& files,
           const CSetOptions& options) {
    auto assignments = ReadAssignments(options);
    if (!assignments) {
        return tl::unexpected(assignments.error());
    }
    CSet set(console, files, options);
    if (options.m_dryRun) {
        return set.Run(std::move(*assignments));
    }
    const auto lock = agent::TakeCallerLock(kRefused, options.m_wait);
    if (!lock) {
        return tl::unexpected(lock.error());
    }
    return set.Run(std::move(*assignments));
}

} // namespace commands
