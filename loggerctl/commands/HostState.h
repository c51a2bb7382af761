#pragma once

#include "history/CSettingsCopy.h"
#include "history/History.h"
#include "loggerctl/agent/Failures.h"
#include "loggerctl/output/Failure.h"

#include <string>

// What a command that changes the host knows of it.
namespace commands {

// Who runs the tool: the user, the one behind sudo, and the address of the ssh session, if any.
history::COrigin FindOrigin();

// Whether the service may be asked for its status.
enum class Asking { Allowed, TakesTooLong };

// What the host is left with by a command that did not succeed: whether the files have changed
// since they were as in `before`, and how, what the agent's service does, and the commands that
// mend both; `id` names the copies of the files before. Asks the service for its status, which may
// take long, when that is wanted and the command had come as far as stopping it.
output::CHostState FindHostState(const history::CSettingsCopy& before, agent::Stage stage,
                                 const std::string& id, Asking asking = Asking::Allowed);

// The stage of what was given up by whoever interrupted it twice.
inline constexpr char kGivenUp[] = "given-up";

// The same where the files are not what was to be written.
output::CHostState FindHostStateAgainst(const history::CSettingsCopy& wanted,
                                        const std::string& id);

} // namespace commands
