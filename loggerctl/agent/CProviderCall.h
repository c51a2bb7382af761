#pragma once

#include "comlib/CTraceUtility.h"
#include "host/CProviderHost.h"
#include "loggerctl/output/CExitCodes.h"

#include <memory>
#include <string>
#include <vector>

// The files that a call is made with.
struct CProviderFiles {
    std::string m_sLibrary;
    std::string m_sDefinitions;
};

// What a call came to.
struct CProviderAnswer {
    ExitCode m_exitCode = ExitCode::Failure;
    std::unique_ptr<IWbemClassObject> m_output; // set on success
    std::string m_sError;                       // what host or provider did wrong; often empty
    std::uint32_t m_uiMethodResult = 0;
    HRESULT m_status = WbemResult::kFailed;
    std::vector<CTraceUtility::Line> m_lines; // the failures and exceptions that were traced
};

// One call of a method of the provider.
class CProviderCall {
public:
    // Loads the provider, calls the method and unloads the provider again, on this thread. While
    // the call waits for somebody else's lock, a terminal on standard error shows so. inParams may
    // be null and stays the caller's. For the length of the call the process's trace listener is
    // taken.
    static CProviderAnswer Run(const CProviderFiles& files, const std::string& method,
                               IWbemClassObject* inParams);

    // The exit code of an outcome that a host gave.
    static ExitCode ToExitCode(const CCallOutcome& outcome);
};
