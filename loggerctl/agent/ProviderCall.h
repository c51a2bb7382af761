#pragma once

#include "history/CSettingsCopy.h"
#include "host/CProviderHost.h"
#include "loggerctl/agent/Failures.h"
#include "settings/CLoggerConf.h"

#include <functional>
#include <optional>
#include <string>

// The two methods of the provider. Each call loads the provider, makes the call and unloads it
// again, on this thread. While a call waits for somebody else's lock or for a service command, a
// terminal shows so. For the length of a call the process's trace listener is taken.
namespace agent {

// The files that a call is made with.
struct CProviderFiles {
    std::string m_library;
    std::string m_definitions;
};

// GetParameter. The failure's headline says that the settings cannot be read.
output::Expected<CLoggerConf> ReadSettings(const CProviderFiles& files);

// What is to happen in the midst of a SetParameter, on the thread of the call and under the
// settings lock.
struct CChangeSteps {
    // Before the service is stopped; with a failure nothing is stopped or written.
    std::function<output::Expected<void>()> m_beforeStop;
    // When the files are written and verified. False: the service is not started.
    std::function<bool()> m_beforeStart;
};

// Why a SetParameter failed. Before the stop the failure has the stage NotBegun.
struct CChangeFailure {
    output::CFailure m_failure;
    Stage m_stage = Stage::Unknown;
};

// SetParameter with a complete record. Nothing comes back when it succeeded.
std::optional<CChangeFailure> ChangeSettings(const CProviderFiles& files, const CLoggerConf& conf,
                                             const CChangeSteps& steps);

// The exit code of an outcome that a host gave.
output::ExitCode ToExitCode(const CCallOutcome& outcome);

} // namespace agent
