#pragma once

#include "loggerctl/agent/ProviderCall.h"
#include "loggerctl/output/Answer.h"
#include "loggerctl/output/Console.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

// What the tool can be asked for, one function for each command. Each runs its command to its end
// and gives back what it came to: an answer for standard output, or why it failed. Notes on the way
// go to the console.
namespace commands {

using Result = output::Expected<output::CAnswer>;

inline constexpr std::chrono::seconds kDefaultWait{60};

struct CGetOptions {
    std::vector<std::string> m_words; // keys and groups of keys; none: all
    bool m_monitored = false;         // only file systems that are monitored
    bool m_noUsage = false;
    bool m_usage = false; // in JSON, too
};

// Shows the settings: as tables, all of them or some groups; or the values of keys, one a line. As
// JSON it is a record that "set --json" takes, or an object of keys.
Result Get(const output::CConsole& console, const agent::CProviderFiles& files,
           const CGetOptions& options);

struct CSetOptions {
    std::vector<std::string> m_assignments; // "KEY=VALUE", as they were written
    std::string m_recordFile;               // or "-"; in place of assignments
    bool m_dryRun = false;
    bool m_force = false;
    bool m_skipUnmounted = false;
    std::chrono::seconds m_wait = kDefaultWait; // for other changes
};

// Changes settings. Under the callers' lock, but for a dry run. Everything that can be found wrong
// beforehand is, by doing the same on copies in memory: then nothing is changed and the agent's
// service runs on. What would be lost besides needs to be forced. Once the service is stopped the
// change is finished, whoever interrupts it; afterwards both files are compared with what was to be
// written.
Result Set(output::CConsole* console, const agent::CProviderFiles& files,
           const CSetOptions& options);

// Lists the kept copies of the settings files.
Result History();

// Shows what has changed in the settings files since a copy was kept, the newest one when no ID is
// given: until another copy was kept or, without its ID, until now. A file that does not exist is
// shown as an empty one.
Result Diff(const std::optional<std::string>& id, const std::optional<std::string>& untilId);

struct CRestoreOptions {
    std::optional<std::string> m_id;
    bool m_dryRun = false;
    bool m_force = false;
    std::chrono::seconds m_wait = kDefaultWait;
};

// Puts the settings files back as they were when a copy was kept: without an ID, the copy whose
// restore did not come to its end, or else the newest one. The present state is kept first. The new
// files are written to disk beside the old ones before the service is stopped, and exchanged while
// it is: up to that point a failure leaves everything as it was. Both locks are held all the time.
//
// A file that the copy lacks is left as it is. When the files are already as in the copy nothing is
// done, unless it is forced or an earlier restore did not come to its end. A copy that the provider
// could not read is restored only when it is forced.
Result Restore(output::CConsole* console, const CRestoreOptions& options);

struct CServiceOptions {
    std::string m_action; // "start", "stop", "restart" or "status"
    std::chrono::seconds m_wait = kDefaultWait;
};

// Starts, stops or restarts the agent's service, or says whether it runs. What is so already is
// left so, where the service can be asked. Everything but the status holds both locks.
Result Service(output::CConsole* console, const CServiceOptions& options);

// Says what the product needs on this host, how each thing was found, and which command mends what
// is missing or wrong. It only looks: CheckInstall, the mount command and the daemons' checks of
// their configuration are all that it runs. The answer has the code Failure when something needs
// mending; otherwise NoRights when something could not be looked at without root's rights.
Result Doctor(const agent::CProviderFiles& files);

} // namespace commands
