#include "loggerctl/record/CSetRequest.h"

#include "comlib/CIWbemUtil.h"
#include "loggerctl/output/CSafeText.h"
#include "loggerctl/record/CSettingsChange.h"
#include "loggerctl/record/LoggerObjects.h"

#include <algorithm>
#include <set>
#include <utility>

namespace {

using namespace LoggerObjects;
using Names = std::vector<std::string>;

CSetRequest MakeRequest(const IWbemClassObject& loggerConf) {
    CSetRequest request;
    IWbemClassObject copy(loggerConf);
    CIWbemUtil::setParameterClassToIWbemClassObject(&request.m_inParams, kLoggerConf, &copy);
    return request;
}

bool Holds(const Names& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

// A record must name the mounted file systems, each once: the agent's files are read back for
// exactly these.
std::vector<std::string> NameProblems(const Names& asked, const Names& mounted) {
    std::vector<std::string> problems;
    std::set<std::string> seen;
    for (const std::string& name : asked) {
        const std::string shown = "The file system '" + CSafeText::Escape(name) + "' ";
        if (!seen.insert(name).second) {
            problems.push_back(shown + "stands in the record more than once.");
        } else if (!Holds(mounted, name)) {
            problems.push_back(shown + "is not mounted. Take it out of the record, or mount it.");
        }
    }
    for (const std::string& name : mounted) {
        if (!Holds(asked, name)) {
            problems.push_back("The file system '" + CSafeText::Escape(name) +
                               "' is mounted, but missing in the record. Add it.");
        }
    }
    return problems;
}

} // namespace

std::optional<CSetRequest>
CSetRequest::FromAssignments(const std::vector<CSettingsAssignment>& assignments,
                             const IWbemClassObject& present, std::vector<std::string>* reasons) {
    CSetRequest request = MakeRequest(present);
    std::set<std::pair<const IWbemClassObject*, const CSettingsKey*>> given;
    for (const CSettingsAssignment& assignment : assignments) {
        const CSettingsAddress& address = assignment.m_address;
        std::string error;
        IWbemClassObject* holder = CSettingsKeys::FindHolder(address, request.LoggerConf(), &error);
        if (holder == nullptr) {
            reasons->push_back(error);
        } else if (!given.insert({holder, address.m_pKey}).second) {
            reasons->push_back(CSafeText::Escape(address.m_sText) +
                               " is given twice, under two spellings of its name.");
        } else {
            std::visit([&](auto value) { holder->Put(address.m_pKey->m_pProperty, value); },
                       assignment.m_value);
            request.m_asked.push_back(address);
        }
    }
    return reasons->empty() ? std::optional(std::move(request)) : std::nullopt;
}

std::optional<CSetRequest> CSetRequest::FromRecord(const IWbemClassObject& record,
                                                   const IWbemClassObject& present,
                                                   std::vector<std::string>* reasons) {
    CSetRequest request = MakeRequest(record);
    CSetRequest unchanged = MakeRequest(present);
    *reasons = NameProblems(CSettingsKeys::VolumeNames(request.LoggerConf()),
                            CSettingsKeys::VolumeNames(unchanged.LoggerConf()));
    if (!reasons->empty()) {
        return std::nullopt;
    }
    for (const CSettingsChange& change : CSettingsChange::Find(present, record)) {
        request.m_asked.push_back(change.m_address);
    }
    return request;
}

IWbemClassObject* CSetRequest::LoggerConf() {
    IWbemClassObject* loggerConf = nullptr;
    CIWbemUtil::getParameterClassFromIWbemClassObject(&m_inParams, kLoggerConf, &loggerConf);
    return loggerConf;
}
