#pragma once

#include "loggerctl/output/Failure.h"
#include "providerbase/CVendorFactory.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace agent {

// The names of the device description's commands, besides those of CServiceSteps.
inline constexpr char kCheckInstall[] = "CheckInstall";
inline constexpr char kServiceStatus[] = "ServiceStatus";

// What CheckInstall answers when the agent is not installed.
inline constexpr int kNotInstalled = 1;

// The path of the agent's device description, and of the sample that is installed beside it.
std::string DescriptionFile();
std::string DescriptionSample();

// Whether a command with this answer came to its end, and was not ended or never begun.
bool IsRunToItsEnd(int answer);

// Runs a command of a vendor object and returns its answer. While a service command takes long, a
// terminal shows so.
int RunShown(const std::function<int()>& run, const std::string& command);

// The agent's service, controlled by the commands of the agent's device description. No lock is
// taken: hold the settings lock while the service is stopped or started. Each function takes the
// process's trace listener for its length.
//
// Failures have the headline given to them, and reasons.
class CService {
public:
    enum class State { Running, Stopped };

    // Asks for the vendor object. Runs no command.
    CService();

    // Whether the service can be controlled at all. NotInstalled when CheckInstall answers 1,
    // Failure when there is no vendor object; the other functions fail in that way, too.
    output::Expected<void> Check(const std::string& headline);

    // Whether ServiceStop and ServiceStart are there and could be started. Runs nothing.
    output::Expected<void> CheckCommands(const std::string& headline);

    // Run ServiceStart and ServiceStop. Failure when the command answers anything but 0.
    output::Expected<void> Start(const std::string& headline);
    output::Expected<void> Stop(const std::string& headline);

    // Runs ServiceStatus, which is optional: 0 says that the service runs, another status that it
    // does not. Failure when the description has no such command or the command could not be run to
    // its end (124, 127, 128 and more).
    output::Expected<State> AskState(const std::string& headline);

    // The same; nothing where it cannot be told.
    std::optional<State> FindState();

private:
    output::Expected<void> Expect0(const std::string& headline, const std::string& command);
    [[nodiscard]] tl::unexpected<output::CFailure> NoVendor(const std::string& headline) const;

    CVendorFactory m_factory;
    CVendor* m_vendor = nullptr;         // the factory's
    std::vector<std::string> m_noVendor; // why it is null
    output::ExitCode m_noVendorCode = output::ExitCode::Failure;
};

} // namespace agent
