#include "loggerctl/commands/CRestoreCommand.h"

#include "history/CFileReplacement.h"
#include "history/CHistory.h"
#include "loggerctl/agent/CSettingsLock.h"
#include "loggerctl/agent/CVendorService.h"
#include "loggerctl/commands/CHistoryChoice.h"
#include "loggerctl/output/COutput.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <list>
#include <utility>

namespace {

ExitCode Nothing(const std::string& reason) {
    COutput::WriteError("Nothing was restored.", {reason});
    return ExitCode::Failure;
}

// One restore, under the settings lock.
class CRestore {
public:
    CRestore(std::string id, bool unfinished, CVendorService* service)
        : m_sId(std::move(id)),
          m_bUnfinished(unfinished),
          m_pService(service) {}

    ExitCode Run(bool force);

private:
    ExitCode Replace(const CSettingsCopy& copy, const CSettingsCopy& now);
    bool Prepare(const CSettingsCopy& copy, const CSettingsCopy& now, std::string* error);
    ExitCode Exchange();
    ExitCode Finish();

    const std::string m_sId;
    const bool m_bUnfinished; // an earlier restore is, and may have left the service stopped
    CVendorService* const m_pService;
    std::string m_sKeptId; // the state before
    std::list<CFileReplacement> m_replacements;
};

ExitCode CRestore::Run(bool force) {
    std::string error;
    const auto copy = CHistory::Load(m_sId, &error);
    if (!copy) {
        return Nothing(error);
    }
    const auto now = CSettingsCopy::OfNow(CSettingsCopy::Missing::Allow, &error);
    if (!now) {
        return Nothing(error);
    }
    if (!force && !m_bUnfinished && copy->DifferentNames(*now).empty()) {
        const std::string text = "Both files are already as in " + m_sId +
                                 ": nothing was done. With --force they are put back all the same "
                                 "and the service is restarted.\n";
        return COutput::Write(text) ? ExitCode::Success : ExitCode::Failure;
    }
    return Replace(*copy, *now);
}

ExitCode CRestore::Replace(const CSettingsCopy& copy, const CSettingsCopy& now) {
    std::string error;
    CServiceAnswer stopped{ExitCode::Failure, {}};
    if (!Prepare(copy, now, &error)) {
        stopped.m_reasons.push_back(error);
    } else {
        stopped = m_pService->Stop();
    }
    if (stopped.m_exitCode != ExitCode::Success) {
        // An earlier restore that was interrupted still is.
        if (!m_bUnfinished) {
            CHistory::ForgetRestore();
        }
        return CVendorService::Report("Nothing was restored", stopped);
    }
    return Exchange();
}

bool CRestore::Prepare(const CSettingsCopy& copy, const CSettingsCopy& now, std::string* error) {
    if (!CHistory::RememberRestore(m_sId, error)) {
        return false;
    }
    const auto kept = CHistory::SaveBeforeRestore(now, m_sId, error);
    if (!kept) {
        return false;
    }
    m_sKeptId = *kept;
    for (std::size_t i = 0; i < copy.m_files.size(); ++i) {
        CFileImage image = copy.m_files[i];
        image.m_modified.tv_nsec = UTIME_NOW; // who watches the file shall see that it changed
        m_replacements.emplace_back(CSettingsCopy::kPaths[i]);
        if (!m_replacements.back().Prepare(image, error)) {
            return false;
        }
    }
    return true;
}

ExitCode CRestore::Exchange() {
    std::string error;
    for (CFileReplacement& replacement : m_replacements) {
        if (!replacement.Commit(&error)) {
            COutput::WriteError("The files may be restored in part only; the service is stopped.",
                                {error, "Run \"loggerctl restore " + m_sId + "\" again."});
            return ExitCode::Failure;
        }
    }
    return Finish();
}

ExitCode CRestore::Finish() {
    CServiceAnswer started = m_pService->Start();
    if (started.m_exitCode != ExitCode::Success) {
        started.m_reasons.emplace_back("Then start it with \"loggerctl service start\".");
        return CVendorService::Report("Both files are as in " + m_sId +
                                          ", but the service could not be started: it is stopped",
                                      started);
    }
    CHistory::ForgetRestore();
    const std::string text = "Both files are as in " + m_sId +
                             " again, and the service was restarted.\n"
                             "The state before is kept as " +
                             m_sKeptId + ".\n";
    return COutput::Write(text) ? ExitCode::Success : ExitCode::Failure;
}

} // namespace

ExitCode CRestoreCommand::Run(const CRestoreOptions& options) {
    ExitCode exitCode{};
    const std::optional<CHistoryEntry> entry = CHistoryChoice::Find(options.m_sId, &exitCode);
    if (!entry) {
        return exitCode;
    }
    CVendorService service;
    const CServiceAnswer check = service.Check();
    if (check.m_exitCode != ExitCode::Success) {
        return CVendorService::Report("Nothing was restored", check);
    }
    const CSettingsLock lock;
    if (!lock.IsHeld()) {
        return Nothing(CSettingsLock::WhyRefused());
    }
    const std::string unfinished = CHistory::UnfinishedRestore(); // now nobody else is at it
    const bool takesItUp = options.m_sId.empty() && !unfinished.empty();
    return CRestore(takesItUp ? unfinished : entry->m_sId, !unfinished.empty(), &service)
        .Run(options.m_bForce);
}
