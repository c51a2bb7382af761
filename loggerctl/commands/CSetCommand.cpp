#include "loggerctl/commands/CSetCommand.h"

#include "comlib/CIWbemUtil.h"
#include "loggerctl/agent/CFailureReport.h"
#include "loggerctl/agent/CSettingsTexts.h"
#include "loggerctl/commands/CSetExecution.h"
#include "loggerctl/output/COutput.h"
#include "loggerctl/output/CUnifiedDiff.h"
#include "loggerctl/record/CLostEntries.h"
#include "loggerctl/record/CRecordFile.h"
#include "loggerctl/record/CSetRequest.h"
#include "loggerctl/record/CSetWarnings.h"
#include "loggerctl/record/CSettingsAssignment.h"
#include "loggerctl/record/CSettingsChange.h"
#include "loggerctl/record/CWriteRehearsal.h"
#include "loggerctl/record/LoggerObjects.h"

#include <unistd.h>

#include <memory>
#include <optional>

namespace {

constexpr char kRefused[] = "Nothing was changed.";

// The "LoggerConf" object of a method's parameters; null when it has none.
IWbemClassObject* LoggerConfOf(IWbemClassObject* parameters) {
    IWbemClassObject* loggerConf = nullptr;
    CIWbemUtil::getParameterClassFromIWbemClassObject(parameters, LoggerObjects::kLoggerConf,
                                                      &loggerConf);
    return loggerConf;
}

// One run of the command. Each step but the last answers whether to go on; where not, m_exitCode
// says how the command ends, and standard error has been told why.
class CSetRun {
public:
    CSetRun(const CProviderFiles& files, const CSetOptions& options)
        : m_files(files),
          m_options(options) {}

    ExitCode Run() {
        if (!ReadInput() || !AskPresent() || !MakeRequest() || !HeedWarnings() || !Rehearse()) {
            return m_exitCode;
        }
        if (m_changes.empty() && !m_options.m_bForce) {
            return Say("No changes.\n");
        }
        SayWhatIsLost();
        return m_options.m_bDryRun ? ShowDifference() : Execute();
    }

private:
    bool ReadInput();
    bool AskPresent();
    bool MakeRequest();
    bool HeedWarnings();
    bool Rehearse();
    void SayWhatIsLost() const;
    ExitCode ShowDifference() const;
    ExitCode Execute();

    [[nodiscard]] std::string Reason() const;
    bool Stop(ExitCode exitCode, const std::string& headline,
              const std::vector<std::string>& details = {}) {
        COutput::WriteError(headline, details);
        m_exitCode = exitCode;
        return false;
    }
    static ExitCode Say(const std::string& text) {
        return COutput::Write(text) ? ExitCode::Success : ExitCode::Failure;
    }

    const CProviderFiles& m_files;
    const CSetOptions& m_options;
    ExitCode m_exitCode = ExitCode::Success;

    std::vector<CSettingsAssignment> m_assignments;
    std::unique_ptr<IWbemClassObject> m_record;  // in place of assignments
    std::unique_ptr<IWbemClassObject> m_present; // holds a "LoggerConf" object
    CSetRequest m_request;
    CSettingsTexts m_texts; // the files as they are
    CWriteRehearsal m_rehearsal;
    std::vector<CSettingsChange> m_changes;
};

bool CSetRun::ReadInput() {
    if (!m_options.m_sRecordFile.empty()) {
        CRecordFile file = CRecordFile::Read(m_options.m_sRecordFile, m_files.m_sDefinitions);
        m_record = std::move(file.m_record);
        return m_record != nullptr || Stop(file.m_exitCode, file.m_sError);
    }
    constexpr char kAdvice[] = "See \"loggerctl set --help\" for keys and values.";
    if (m_options.m_assignments.empty()) {
        return Stop(ExitCode::Usage, "What is to be set? Give KEY=VALUE, or a record with --json.",
                    {kAdvice});
    }
    std::string error;
    auto assignments = CSettingsAssignment::ParseAll(m_options.m_assignments, &error);
    if (!assignments) {
        return Stop(ExitCode::Usage, error, {kAdvice});
    }
    m_assignments = std::move(*assignments);
    return true;
}

bool CSetRun::AskPresent() {
    CProviderAnswer answer = CProviderCall::Run(m_files, LoggerObjects::kGetMethod, nullptr);
    if (answer.m_exitCode != ExitCode::Success) {
        CFailureReport::Write("The settings cannot be read", answer);
        m_exitCode = answer.m_exitCode;
        return false;
    }
    if (CLoggerConf(answer.m_output.get()).m_iStatus != 0) {
        return Stop(ExitCode::Failure, "The provider's answer is not a complete set of settings.",
                    {"Check that provider and tool are of the same version."});
    }
    m_present = std::move(answer.m_output);
    std::string error;
    const std::optional<CSettingsTexts> texts = CSettingsTexts::Read(&error);
    if (!texts) {
        return Stop(ExitCode::Failure, kRefused, {error});
    }
    m_texts = *texts;
    return true;
}

bool CSetRun::MakeRequest() {
    const IWbemClassObject& present = *LoggerConfOf(m_present.get());
    std::vector<std::string> reasons;
    std::optional<CSetRequest> request =
        m_record != nullptr ? CSetRequest::FromRecord(*m_record, present, &reasons)
                            : CSetRequest::FromAssignments(m_assignments, present, &reasons);
    if (!request) {
        return Stop(ExitCode::Usage, kRefused, reasons);
    }
    m_request = std::move(*request);
    return true;
}

bool CSetRun::HeedWarnings() {
    const std::vector<std::string> warnings = CSetWarnings::Find(&m_request);
    if (warnings.empty()) {
        return true;
    }
    if (m_options.m_bForce) {
        COutput::WriteError("Warning:", warnings);
        return true;
    }
    return Stop(ExitCode::Usage, std::string(kRefused) + " If this is what you want, add --force.",
                warnings);
}

bool CSetRun::Rehearse() {
    m_rehearsal = CWriteRehearsal::Run(CLoggerConf(&m_request.m_inParams), m_texts);
    const std::string headline =
        std::string(kRefused) + " The settings could not be written and verified.";
    if (!m_rehearsal.m_bGood) {
        const std::vector<std::string> problems = m_rehearsal.NameProblems();
        return problems.empty()
                   ? Stop(ExitCode::Failure, headline, CFailureReport::Reasons(m_rehearsal.m_lines))
                   : Stop(ExitCode::Usage, headline, problems);
    }
    IWbemClassObject wanted;
    m_rehearsal.m_wanted.ConvertToIWbemClassObject(&wanted);
    m_changes = CSettingsChange::Find(*LoggerConfOf(m_present.get()), *LoggerConfOf(&wanted));
    return true;
}

void CSetRun::SayWhatIsLost() const {
    const std::vector<std::string> lost =
        CLostEntries::Find(m_texts.m_sAlert, m_rehearsal.m_wanted);
    if (!lost.empty()) {
        COutput::WriteError("Note: entries of file systems that are not mounted are not kept.",
                            lost);
    }
}

ExitCode CSetRun::ShowDifference() const {
    const std::string difference = m_texts.DifferenceTo(m_rehearsal.m_texts);
    if (difference.empty()) {
        return Say("No changes.\n");
    }
    return Say(CUnifiedDiff::ForOutput(difference, isatty(STDOUT_FILENO) == 1));
}

ExitCode CSetRun::Execute() {
    return CSetExecution::Run(m_files, &m_request.m_inParams, m_texts, m_changes, Reason());
}

// What the history keeps as the reason for the change.
std::string CSetRun::Reason() const {
    std::string reason = "set";
    for (const std::string& assignment : m_options.m_assignments) {
        reason += " " + assignment;
    }
    if (m_record != nullptr) {
        reason += " --json " + m_options.m_sRecordFile;
    }
    return reason;
}

} // namespace

ExitCode CSetCommand::Run(const CProviderFiles& files, const CSetOptions& options) {
    return CSetRun(files, options).Run();
}
