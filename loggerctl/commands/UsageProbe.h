#pragma once

#include "loggerctl/record/JsonRecord.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

// How full file systems are, without ever waiting long for one that does not answer.
namespace commands {

// The space in use in percent, rounded up, of what an ordinary user could fill. Nothing comes back
// for a file system without blocks, for one that cannot be asked, and for a mount point that is no
// absolute path. Can hang as long as the file system does.
std::optional<int> AskUsage(const std::string& mountPoint);

// How long one answer may take, and how long all of them together.
struct CUsageLimits {
    std::chrono::milliseconds m_each{1000};
    std::chrono::milliseconds m_total{3000};
};
using CQuestion = std::function<std::optional<int>(const std::string& mountPoint)>;

// The answers for all mount points, in their order; nothing for those that did not come in time.
// The question is asked in a child process, which is left behind when it hangs: a thread that hangs
// in the kernel would keep this process from ending.
record::CUsages AskUsages(const std::vector<std::string>& mountPoints, const CUsageLimits& limits,
                          const CQuestion& question = AskUsage);

} // namespace commands
