#include "history/CFileReplacement.h"
#include "loggerctl/agent/CInterruptGuard.h"
#include "loggerctl/agent/CService.h"
#include "loggerctl/agent/Locks.h"
#include "loggerctl/agent/SettingsFiles.h"
#include "loggerctl/commands/Commands.h"
#include "loggerctl/commands/HistoryChoice.h"
#include "loggerctl/commands/HostState.h"
#include "loggerctl/output/SafeText.h"
#include "loggerctl/output/UnifiedDiff.h"
#include "loggerctl/record/Rehearsal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <exception>
#include <list>
#include <utility>

namespace commands {

namespace {

using agent::Stage;
using output::CAnswer;
using output::CFailure;
using output::ExitCode;
using output::Expected;
using output::Fail;
using Json = nlohmann::ordered_json;

constexpr char kNothing[] = "Nothing was restored.";

// One restore of one copy.
class CRestore {
public:
    CRestore(output::CConsole* console, const CRestoreOptions& options, std::string id)
        : m_console(console),
          m_options(options),
          m_id(std::move(id)) {}

    Result ShowDifference();
    // Under both locks.
    Result Run(agent::CService* service, bool pending);

private:
    Expected<void> ReadFiles();
    void LeaveMissingFiles();
    Expected<void> HeedRefusal();
    Expected<void> CheckHost(agent::CService* service);
    Expected<void> Prepare();
    Expected<void> CheckUnchanged() const;
    Result Exchange(agent::CService* service);
    Result Finish(agent::CService* service);
    CFailure Undone(CFailure failure) const;
    CFailure Failed(CFailure failure, Stage stage) const;
    CFailure GivenUp(const std::exception& exception) const;
    Result RunSteps(agent::CService* service, bool pending);
    [[noreturn]] void End() const;
    [[nodiscard]] CAnswer Answer(const std::string& text, bool done) const;
    [[nodiscard]] bool IsSame() const { return m_copy.DifferentNames(m_now).empty(); }

    output::CConsole* const m_console;
    const CRestoreOptions& m_options;
    const std::string m_id;
    history::CSettingsCopy m_now;
    history::CSettingsCopy m_copy; // a file that it lacks is as it is now
    history::CPendingRestore m_pending;
    std::list<history::CFileReplacement> m_replacements;
    std::unique_ptr<agent::CInterruptGuard> m_guard;
};

Result CRestore::ShowDifference() {
    const Expected<void> read = ReadFiles();
    if (!read) {
        return tl::unexpected(read.error());
    }
    const bool isValid = record::FindRefusal(m_copy).empty();
    if (!isValid) {
        m_console->Note("Warning: the files in " + m_id +
                        " are not valid: with them the settings could neither be read nor "
                        "changed." +
                        (m_options.m_force ? "" : " The restore needs --force."));
    }
    const std::string difference = agent::Difference(m_now, m_copy);
    CAnswer answer = Answer(
        difference.empty() ? "Both files are as in " + m_id + ".\n"
                           : output::ForOutput(difference, output::CTerminal::Of(STDOUT_FILENO)),
        false);
    answer.m_document["needs_force"] = !isValid && !IsSame();
    return answer;
}

// What nobody foresaw, such as a want of memory, fails the command with its state, too.
Result CRestore::Run(agent::CService* service, bool pending) {
    try {
        return RunSteps(service, pending);
    } catch (const std::exception& exception) {
        return tl::unexpected(GivenUp(exception));
    }
}

Result CRestore::RunSteps(agent::CService* service, bool pending) {
    const Expected<void> read = ReadFiles();
    if (!read) {
        return tl::unexpected(read.error());
    }
    if (!m_options.m_force && !pending && IsSame()) {
        return Answer("Both files are already as in " + m_id +
                          ": nothing was done. With --force they are put back all the same and "
                          "the service is restarted.\n",
                      false);
    }
    const Expected<void> prepared =
        HeedRefusal().and_then([&] { return CheckHost(service); }).and_then([this] {
            return Prepare();
        });
    if (!prepared) {
        return tl::unexpected(prepared.error());
    }
    m_guard = std::make_unique<agent::CInterruptGuard>([this] { End(); });
    const Expected<void> stopped = service->Stop(kNothing);
    if (!stopped) {
        return tl::unexpected(Failed(Undone(stopped.error()), Stage::StopFailed));
    }
    return Exchange(service);
}

Expected<void> CRestore::ReadFiles() {
    auto copy = history::Load(m_id);
    if (!copy) {
        return tl::unexpected(agent::ToFailure(kNothing, copy.error()));
    }
    auto now = history::CSettingsCopy::OfNow(history::CSettingsCopy::Missing::Allow);
    if (!now) {
        return tl::unexpected(agent::ToFailure(kNothing, now.error()));
    }
    m_copy = std::move(*copy);
    m_now = std::move(*now);
    if (m_copy.MissingNames().size() == m_copy.m_files.size()) {
        return Fail(ExitCode::Failure, kNothing,
                    {"The copy " + m_id +
                     " holds neither file: both were missing then. Choose "
                     "another one."});
    }
    LeaveMissingFiles();
    return {};
}

void CRestore::LeaveMissingFiles() {
    for (std::size_t i = 0; i < m_copy.m_files.size(); ++i) {
        if (m_copy.m_files[i].m_missing) {
            m_console->Note("Note: " + history::CSettingsCopy::Name(i) +
                            " was missing when the copy was kept. It is left as it is.");
            m_copy.m_files[i] = m_now.m_files[i];
        }
    }
}

Expected<void> CRestore::HeedRefusal() {
    const auto lines = record::FindRefusal(m_copy);
    if (lines.empty()) {
        return {};
    }
    if (m_options.m_force) {
        m_console->Note("Warning: the settings in " + m_id + " cannot be read.");
        return {};
    }
    if (record::IsFaultOfHost(lines)) {
        std::vector<std::string> reasons{"It cannot be found out whether the files in " + m_id +
                                         " are valid."};
        for (const std::string& text : agent::Explain(lines).m_texts) {
            reasons.push_back(text);
        }
        reasons.emplace_back("Try again, or add --force to restore them all the same.");
        return Fail(ExitCode::Failure, kNothing, reasons);
    }
    return Fail(ExitCode::Usage, kNothing,
                {"The files in " + m_id +
                     " are not valid: with them the settings could neither be read nor changed.",
                 "Look at them with \"loggerctl diff " + m_id +
                     "\". If this is what you want, add --force."});
}

// All that can be found out before anything is made.
Expected<void> CRestore::CheckHost(agent::CService* service) {
    for (const char* path : history::CSettingsCopy::kPaths) {
        const auto replaceable = history::CFileReplacement::Check(path);
        if (!replaceable) {
            return tl::unexpected(agent::ToFailure(kNothing, replaceable.error()));
        }
    }
    return service->CheckCommands(kNothing);
}

Expected<void> CRestore::Prepare() {
    const auto pending = history::BeginRestore(m_id, m_now, FindOrigin());
    if (!pending) {
        return tl::unexpected(agent::ToFailure(kNothing, pending.error()));
    }
    m_pending = *pending;
    for (std::size_t i = 0; i < m_copy.m_files.size(); ++i) {
        history::CFileImage image = m_copy.m_files[i];
        if (image.m_missing) {
            continue;
        }
        image.m_modified.tv_nsec = UTIME_NOW; // who watches the file shall see that it changed
        m_replacements.emplace_back(history::CSettingsCopy::kPaths[i]);
        const auto prepared = m_replacements.back().Prepare(image);
        if (!prepared) {
            return tl::unexpected(Undone(agent::ToFailure(kNothing, prepared.error())));
        }
    }
    const Expected<void> unchanged = CheckUnchanged();
    return unchanged ? Expected<void>() : tl::unexpected(Undone(unchanged.error()));
}

Expected<void> CRestore::CheckUnchanged() const {
    const auto now = history::CSettingsCopy::OfNow(history::CSettingsCopy::Missing::Allow);
    if (!now) {
        return tl::unexpected(agent::ToFailure(kNothing, now.error()));
    }
    if (now->HasSameTexts(m_now)) {
        return {};
    }
    return Fail(ExitCode::Failure, kNothing,
                {"Somebody else, such as an editor, has just changed the settings files. Look at "
                 "them, and try again."});
}

Result CRestore::Exchange(agent::CService* service) {
    for (history::CFileReplacement& replacement : m_replacements) {
        const auto committed = replacement.Commit();
        if (!committed) {
            CFailure failure =
                agent::ToFailure("The files may be restored in part only; the service is stopped.",
                                 committed.error());
            failure.m_reasons.push_back("Run \"loggerctl restore " + m_id + "\" again.");
            return tl::unexpected(Failed(failure, Stage::Stopped));
        }
    }
    if (m_guard->IsGivenUp()) {
        return tl::unexpected(Failed({ExitCode::Failure, "", {}, {}}, Stage::Stopped));
    }
    return Finish(service);
}

Result CRestore::Finish(agent::CService* service) {
    Expected<void> started = service->Start("Both files are as in " + m_id +
                                            ", but the service could not be started: it is "
                                            "stopped.");
    if (!started) {
        started.error().m_reasons.emplace_back("Then start it with \"loggerctl service start\".");
        return tl::unexpected(Failed(started.error(), Stage::StartFailed));
    }
    const auto now = history::CSettingsCopy::OfNow(history::CSettingsCopy::Missing::Allow);
    if (!now) {
        return tl::unexpected(
            CFailure{ExitCode::Failure,
                     "The files were restored, but cannot be read to see that they are right.",
                     {now.error().m_text},
                     FindHostStateAgainst(m_copy, m_id)});
    }
    if (!now->HasSameTexts(m_copy)) {
        return tl::unexpected(
            CFailure{ExitCode::Failure,
                     "The files were restored, but somebody else has changed them since.",
                     {},
                     FindHostStateAgainst(m_copy, m_id)});
    }
    const auto ended = history::EndRestore();
    if (!ended) {
        m_console->Note("Warning: this restore is done, but it may still be noted as one that is "
                        "not. A restore without an ID would repeat it.",
                        {ended.error().m_text});
    }
    return Answer("Both files are as in " + m_id +
                      " again, and the service was restarted.\n"
                      "The state before is kept as " +
                      m_pending.m_keptId + ".\n",
                  true);
}

// A failure before anything was replaced.
CFailure CRestore::Undone(CFailure failure) const {
    history::DiscardKept(m_pending);
    return failure;
}

CFailure CRestore::Failed(CFailure failure, Stage stage) const {
    failure.m_state = FindHostState(m_now, stage, m_pending.m_keptId);
    if (m_guard->IsGivenUp()) {
        failure.m_headline = "Interrupted twice: the restore was given up.";
        failure.m_reasons.clear();
        failure.m_state->m_stage = kGivenUp;
    }
    return failure;
}

CFailure CRestore::GivenUp(const std::exception& exception) const {
    CFailure failure{ExitCode::Failure,
                     kNothing,
                     {"The command cannot go on: " + output::Escape(exception.what()) + "."},
                     {}};
    if (m_guard == nullptr) {
        failure.m_reasons.emplace_back("Try again.");
        return Undone(failure);
    }
    failure.m_headline = "The restore was given up.";
    failure.m_reasons.push_back("Run \"loggerctl restore " + m_id + "\" again.");
    return Failed(failure, Stage::Unknown);
}

// What was begun does not come to its end.
void CRestore::End() const {
    const CFailure failure{
        ExitCode::Failure,
        "Interrupted twice: the restore was given up while it was under way.",
        {},
        FindHostState(m_now, Stage::Unknown, m_pending.m_keptId, Asking::TakesTooLong)};
    std::_Exit(static_cast<int>(m_console->Finish(tl::unexpected(failure))));
}

CAnswer CRestore::Answer(const std::string& text, bool done) const {
    CAnswer answer;
    answer.m_text = text;
    answer.m_document = {{"changed", done || (m_options.m_dryRun && !IsSame())},
                         {"dry_run", m_options.m_dryRun},
                         {"restored", m_id},
                         {"difference", output::JsonLines(agent::Difference(m_now, m_copy))},
                         {"history_id", done ? Json(m_pending.m_keptId) : Json()},
                         {"service_restarted", done}};
    return answer;
}

} // namespace

namespace {

// The entry to restore, and whether any restore has not come to its end.
struct CChoice {
    std::string m_id;
    bool m_pending = false;
};

Expected<CChoice> Choose(const CRestoreOptions& options, const history::CEntry& entry) {
    const auto pending = history::PendingRestore();
    if (!pending) {
        return tl::unexpected(agent::ToFailure(kNothing, pending.error()));
    }
    const bool takesUp = *pending && !options.m_id;
    return CChoice{takesUp ? (*pending)->m_id : entry.m_id, pending->has_value()};
}

} // namespace

Result Restore(output::CConsole* console, const CRestoreOptions& options) {
    const Expected<history::CEntry> entry = FindEntry(options.m_id);
    if (!entry) {
        return tl::unexpected(entry.error());
    }
    if (options.m_dryRun) {
        return Choose(options, *entry).and_then([&](const CChoice& choice) {
            return CRestore(console, options, choice.m_id).ShowDifference();
        });
    }
    agent::CService service;
    const Expected<void> check = service.Check(kNothing);
    if (!check) {
        return tl::unexpected(check.error());
    }
    const auto callerLock = agent::TakeCallerLock(kNothing, options.m_wait);
    if (!callerLock) {
        return tl::unexpected(callerLock.error());
    }
    const agent::CSettingsLock lock;
    if (!lock.IsHeld()) {
        return tl::unexpected(agent::ToFailure(kNothing, agent::WhyNoSettingsLock()));
    }
    return Choose(options, *entry).and_then([&](const CChoice& choice) {
        return CRestore(console, options, choice.m_id).Run(&service, choice.m_pending);
    });
}

} // namespace commands
