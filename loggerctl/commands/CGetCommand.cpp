#include "loggerctl/commands/CGetCommand.h"

#include "comlib/CIWbemUtil.h"
#include "loggerctl/agent/CFailureReport.h"
#include "loggerctl/agent/CUsageProbe.h"
#include "loggerctl/commands/CSettingsView.h"
#include "loggerctl/output/COutput.h"
#include "loggerctl/record/CJsonRecord.h"
#include "loggerctl/record/CSettingsKeys.h"
#include "loggerctl/record/LoggerObjects.h"
#include "settings/CLoggerConf.h"

#include <unistd.h>

#include <optional>

namespace {

using Addresses = std::vector<CSettingsAddress>;

// What goes to standard output, or how the command ends without it.
struct Answer {
    std::string m_sText;
    ExitCode m_exitCode = ExitCode::Success;
};

std::optional<Addresses> ParseKeys(const std::vector<std::string>& keys) {
    Addresses addresses;
    for (const std::string& key : keys) {
        std::string error;
        const std::optional<CSettingsAddress> address = CSettingsKeys::Parse(key, &error);
        if (!address) {
            COutput::WriteError(error, {"See \"loggerctl get --help\" for the keys."});
            return std::nullopt;
        }
        addresses.push_back(*address);
    }
    return addresses;
}

Answer BrokenAnswer(const std::string& problem) {
    COutput::WriteError(problem, {"Check that provider and tool are of the same version."});
    return {"", ExitCode::Failure};
}

Answer SingleValues(const Addresses& addresses, IWbemClassObject* loggerConf) {
    Answer answer;
    for (const CSettingsAddress& address : addresses) {
        std::string error;
        IWbemClassObject* holder = CSettingsKeys::FindHolder(address, loggerConf, &error);
        if (holder == nullptr && address.m_volume) {
            COutput::WriteError(error);
            return {"", ExitCode::Usage};
        }
        const std::optional<std::string> text =
            CSettingsKeys::ReadText(address, loggerConf, &error);
        if (!text) {
            return BrokenAnswer(error);
        }
        answer.m_sText += *text + '\n';
    }
    return answer;
}

CSettingsView::Usages AskUsages(const CLoggerConf& conf) {
    std::vector<std::string> mountPoints;
    for (const CLoggerFsThresholdConf& volume : conf.m_FsUsageMonitorConf.m_FsThresholdConfList) {
        mountPoints.push_back(volume.m_sVolumeName);
    }
    return CUsageProbe::AskAll(mountPoints, CUsageProbe::Limits());
}

Answer Tables(IWbemClassObject* output, bool withUsage) {
    const CLoggerConf conf(output);
    if (conf.m_iStatus != 0) {
        return BrokenAnswer("The provider's answer is not a complete set of settings.");
    }
    std::optional<CSettingsView::Usages> usages;
    if (withUsage) {
        usages = AskUsages(conf);
    }
    return {CSettingsView::Text(conf, usages, CTerminal::Of(STDOUT_FILENO))};
}

Answer Show(IWbemClassObject* output, const CGetOptions& options, const Addresses& addresses) {
    IWbemClassObject* loggerConf = nullptr;
    if (CIWbemUtil::getParameterClassFromIWbemClassObject(output, LoggerObjects::kLoggerConf,
                                                          &loggerConf) < 0) {
        return BrokenAnswer(std::string("The provider's answer has no ") +
                            LoggerObjects::kLoggerConf + ".");
    }
    if (options.m_bJson) {
        return {CJsonRecord::ToText(*loggerConf)};
    }
    return addresses.empty() ? Tables(output, !options.m_bNoUsage)
                             : SingleValues(addresses, loggerConf);
}

} // namespace

ExitCode CGetCommand::Run(const CProviderFiles& files, const CGetOptions& options) {
    const std::optional<Addresses> addresses = ParseKeys(options.m_keys);
    if (!addresses) {
        return ExitCode::Usage;
    }
    const CProviderAnswer settings = CProviderCall::Run(files, LoggerObjects::kGetMethod, nullptr);
    if (settings.m_exitCode != ExitCode::Success) {
        CFailureReport::Write("The settings cannot be read", settings);
        return settings.m_exitCode;
    }
    const Answer answer = Show(settings.m_output.get(), options, *addresses);
    if (answer.m_exitCode != ExitCode::Success) {
        return answer.m_exitCode;
    }
    return COutput::Write(answer.m_sText) ? ExitCode::Success : ExitCode::Failure;
}
