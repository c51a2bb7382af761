#pragma once

#include "loggerctl/output/CExitCodes.h"
#include "providerbase/CVendorFactory.h"

#include <string>
#include <vector>

// How a command to the agent's service ended.
struct CServiceAnswer {
    ExitCode m_exitCode = ExitCode::Success; // or NotInstalled, or Failure
    std::vector<std::string> m_reasons;      // why it did not succeed: sentences, safe to print
};

// The agent's service, controlled by the commands of the agent's device description. The settings
// lock is not taken: hold it (CSettingsLock) while the service is stopped or started. Each function
// takes the process's trace listener for its length.
class CVendorService {
public:
    enum class State { Running, Stopped };

    // The path of the agent's device description.
    static std::string DescriptionFile();

    // Asks for the vendor object. Runs no command.
    CVendorService();

    // Whether the service can be controlled at all. NotInstalled when CheckInstall answers 1,
    // Failure when there is no vendor object; the other functions fail in that way, too.
    CServiceAnswer Check();

    // Run ServiceStart and ServiceStop. Failure when the command answers anything but 0.
    CServiceAnswer Start();
    CServiceAnswer Stop();

    // Runs ServiceStatus, which is optional: 0 says that the service runs, another status that it
    // does not. Failure, and *state is left alone, when the description has no such command or the
    // command could not be run to its end (124, 127, 128 and more).
    CServiceAnswer Status(State* state);

    // Writes what failed ("The service was not started") and the reasons to standard error. Returns
    // the answer's exit code.
    static ExitCode Report(const std::string& failed, const CServiceAnswer& answer);

private:
    CServiceAnswer Expect0(const std::string& command);

    CVendorFactory m_factory;
    CVendor* m_pVendor = nullptr;        // the factory's
    std::vector<std::string> m_noVendor; // why it is null
};
