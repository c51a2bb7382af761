#include "loggerctl/agent/ProviderCall.h"

#include "KzmPaths.h"
#include "host/CServiceSteps.h"
#include "loggerctl/agent/CService.h"
#include "loggerctl/agent/Locks.h"
#include "loggerctl/agent/SettingsFiles.h"
#include "loggerctl/output/CProgressLine.h"
#include "loggerctl/output/Console.h"
#include "loggerctl/output/SafeText.h"
#include "provider/MethodResult.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <memory>
#include <utility>

namespace agent {

namespace {

using output::CFailure;
using output::ExitCode;
using output::Expected;

constexpr char kClass[] = "VELTARO_ToolServiceLogger";
constexpr char kNotRead[] = "The settings cannot be read.";

// What a call came to, and what was traced meanwhile.
struct CAnswer {
    ExitCode m_code = ExitCode::Failure;
    CCallOutcome m_outcome;
    std::vector<CTraceUtility::Line> m_lines;
};

CAnswer Call(const CProviderFiles& files, const std::string& method, IWbemClassObject* inParams) {
    CAnswer answer;
    CReasonListener listener; // from the start: loading the provider traces reasons, too
    const std::unique_ptr<CProviderHost> host =
        CProviderHost::Open(files.m_library, files.m_definitions, &answer.m_outcome.m_sError);
    if (host == nullptr) {
        answer.m_code = ExitCode::NotLoaded;
    } else {
        const output::CProgressLine line(
            [] { return DescribeWait("the settings lock", KzmPaths::kLockFile); },
            output::CTerminal::Of(STDERR_FILENO));
        answer.m_outcome = host->Call(kClass, method, inParams);
        answer.m_code = ToExitCode(answer.m_outcome);
    }
    answer.m_lines = listener.Lines();
    return answer;
}

std::string Hexadecimal(std::uint32_t value) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%08x", value);
    return text.data();
}

CFailure ToFailure(std::string headline, const CAnswer& answer, const CReasons& known) {
    std::vector<std::string> reasons = known.m_texts;
    if (!answer.m_outcome.m_sError.empty()) {
        reasons.insert(reasons.begin(), output::Escape(answer.m_outcome.m_sError));
    }
    if (reasons.empty()) {
        reasons.push_back("The provider gave no reason (method result " +
                          Hexadecimal(answer.m_outcome.m_uiMethodResult) + ", call status " +
                          Hexadecimal(static_cast<std::uint32_t>(answer.m_outcome.m_status)) +
                          "). KZM_TRACE=15 shows what it does.");
    }
    if (answer.m_code != ExitCode::Failure) { // there the reasons say it better
        headline += " " + output::MeaningOf(answer.m_code);
    }
    const bool plain = answer.m_code == ExitCode::Failure;
    return {plain ? known.m_code : answer.m_code, headline, reasons, {}};
}

// A pipe in a file's place would be waited at without end.
Expected<void> RefusePipes() {
    for (const char* path : history::CSettingsCopy::kPaths) {
        struct stat status {};
        if (stat(path, &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) {
            return tl::unexpected(ToFailure(kNotRead, WhyNotRead(path)));
        }
    }
    return {};
}

} // namespace

Expected<CLoggerConf> ReadSettings(const CProviderFiles& files) {
    const Expected<void> checked = RefusePipes();
    if (!checked) {
        return tl::unexpected(checked.error());
    }
    const CAnswer answer = Call(files, "GetParameter", nullptr);
    if (answer.m_code != ExitCode::Success) {
        return tl::unexpected(ToFailure(kNotRead, answer, Explain(answer.m_lines)));
    }
    CLoggerConf conf(answer.m_outcome.m_output.get());
    if (conf.m_iStatus != 0) {
        return output::Fail(ExitCode::Failure,
                            "The provider's answer is not a complete set of settings.",
                            {"Check that provider and tool are of the same version."});
    }
    return conf;
}

std::optional<CChangeFailure> ChangeSettings(const CProviderFiles& files, const CLoggerConf& conf,
                                             const CChangeSteps& steps) {
    IWbemClassObject inParams;
    conf.ConvertToIWbemClassObject(&inParams);
    CFailure refusal{ExitCode::Success, "", {}, {}};
    const auto beforeStop = [&] {
        const Expected<void> allowed = steps.m_beforeStop();
        if (!allowed) {
            refusal = allowed.error();
        }
        return allowed.has_value();
    };
    const CServiceSteps stepping(DescriptionFile(), {beforeStop, steps.m_beforeStart, RunShown});
    const CAnswer answer = Call(files, "SetParameter", &inParams);
    if (refusal.m_code != ExitCode::Success) {
        return CChangeFailure{refusal, Stage::NotBegun};
    }
    if (answer.m_code == ExitCode::Success) {
        return std::nullopt;
    }
    CReasons reasons = Explain(answer.m_lines);
    if (answer.m_code == ExitCode::NotLoaded || answer.m_code == ExitCode::NotInstalled) {
        reasons.m_stage = Stage::NotBegun;
    }
    const char* headline = reasons.m_stage == Stage::StartFailed
                               ? "The settings were changed, but the agent's service was not "
                                 "started again."
                               : "The settings could not be changed.";
    return CChangeFailure{ToFailure(headline, answer, reasons), reasons.m_stage};
}

ExitCode ToExitCode(const CCallOutcome& outcome) {
    if (outcome.m_output != nullptr && outcome.m_uiMethodResult == MethodResult::kException) {
        return ExitCode::Exception;
    }
    if (!outcome.m_sError.empty() || outcome.m_output == nullptr || outcome.m_status < 0) {
        return ExitCode::Failure;
    }
    switch (outcome.m_uiMethodResult) {
    case MethodResult::kSuccess:
        return ExitCode::Success;
    case MethodResult::kNotInstalled:
        return ExitCode::NotInstalled;
    default:
        return ExitCode::Failure;
    }
}

} // namespace agent
