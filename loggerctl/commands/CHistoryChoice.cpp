#include "loggerctl/commands/CHistoryChoice.h"

#include "loggerctl/output/COutput.h"
#include "loggerctl/output/CSafeText.h"
#include "loggerctl/output/CSuggestion.h"

namespace {

using Entries = std::vector<CHistoryEntry>;

void ReportUnknown(const std::string& id, const Entries& entries) {
    std::vector<std::string> ids;
    for (const CHistoryEntry& entry : entries) {
        ids.push_back(entry.m_sId);
    }
    std::vector<std::string> details{"These are kept, newest first:"};
    details.insert(details.end(), ids.begin(), ids.end());
    COutput::WriteError("There is no copy '" + CSafeText::Escape(id) + "'." +
                            CSuggestion::Question(id, ids),
                        details);
}

} // namespace

std::optional<CHistoryEntry> CHistoryChoice::Find(const std::string& id, ExitCode* exitCode) {
    *exitCode = ExitCode::Failure;
    std::string error;
    const std::optional<Entries> entries = CHistory::List(&error);
    if (!entries) {
        COutput::WriteError("The history cannot be read.", {error});
        return std::nullopt;
    }
    if (entries->empty()) {
        COutput::WriteError("The history is empty: no copy of the settings files has been kept.");
        return std::nullopt;
    }
    for (const CHistoryEntry& entry : *entries) {
        if (id.empty() || id == entry.m_sId) {
            return entry;
        }
    }
    ReportUnknown(id, *entries);
    *exitCode = ExitCode::Usage;
    return std::nullopt;
}
