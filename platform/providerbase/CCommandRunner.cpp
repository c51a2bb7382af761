#include "providerbase/CCommandRunner.h"

#include "comlib/CTraceUtility.h"
#include "comlib/ThreadCancellation.h"
#include "providerbase/CKeptProcess.h"
#include "providerbase/TraceModule.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <optional>
#include <sstream>

namespace {

using Clock = std::chrono::steady_clock;
using Words = std::vector<std::string>;

const char kSearchPath[] = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin";
const char kLanguage[] = "LANG=C";
const char kNotOnPath[] = "is not on the fixed PATH; give its full path";
const char kCannotBeEnded[] = "could not be ended and goes on running";
const char kTooLongAndCannotBeEnded[] =
    "took longer than TimeoutSeconds, could not be ended and goes on running";

constexpr std::chrono::seconds kGrace{2};
constexpr std::chrono::seconds kKillTime{2};    // behind a SIGKILL, however busy the machine is
constexpr std::chrono::milliseconds kLook{100}; // how often EndAll is looked for

std::atomic<unsigned int> endings{0}; // how often EndAll was called

void TraceFailure(const std::string& program, const std::string& problem) {
    CTraceUtility::WriteDebug(kTraceModule, CTraceUtility::TRACE_DBG_FAILURE,
                              "CCommandRunner::Run() \"%s\" %s", program.c_str(), problem.c_str());
}

// ---- Starting ----

bool IsProgram(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           faccessat(AT_FDCWD, path.c_str(), X_OK, AT_EACCESS) == 0;
}

// ---- Waiting ----

// Waits until it has ended, the time is over or EndAll is called once more than it had been at
// `begun`; true in the first case.
bool WaitFor(CKeptProcess& program, Clock::duration time, unsigned int begun) {
    const Clock::time_point deadline = Clock::now() + time;
    bool isEnded = program.WaitFor(Clock::duration::zero());
    while (!isEnded && Clock::now() < deadline && endings == begun) {
        pthread_testcancel(); // waiting for a CKeptProcess cannot be cancelled
        isEnded = program.WaitFor(std::min<Clock::duration>(deadline - Clock::now(), kLook));
    }
    return isEnded;
}

// Ends its process group; true when it has ended itself.
bool End(CKeptProcess& program) {
    const CCancellationGuard guard;
    program.Signal(SIGTERM);
    static_cast<void>(WaitFor(program, kGrace, endings));
    program.Signal(SIGKILL);
    return program.WaitFor(kKillTime);
}

bool WaitOrEndWhenCancelled(CKeptProcess& program, Clock::duration time, unsigned int begun) {
    try {
        return WaitFor(program, time, begun);
    } catch (const ForcedUnwind&) {
        static_cast<void>(End(program));
        throw;
    }
}

} // namespace

int CCommandRunner::Run(const Words& words, std::chrono::seconds timeout) {
    const std::string path = FindProgram(words);
    if (path.empty()) {
        TraceFailure(words.front(), kNotOnPath);
        return kNotRun;
    }
    const unsigned int begun = endings; // before the start, so that none is missed
    CKeptProcess program;
    const int error = program.Start(path, words, {std::string("PATH=") + kSearchPath, kLanguage});
    if (error != 0) {
        TraceFailure(path, std::string("cannot be started (") + strerrordesc_np(error) +
                               "); check the command line");
        return kNotRun;
    }
    const bool isEnded = WaitOrEndWhenCancelled(program, timeout, begun);
    const bool isInTime = isEnded || endings != begun;
    if (!isEnded && !End(program)) {
        TraceFailure(path, isInTime ? kCannotBeEnded : kTooLongAndCannotBeEnded);
        return kTimedOut;
    }
    if (!isInTime) {
        TraceFailure(path, "took longer than TimeoutSeconds and was ended");
        return kTimedOut;
    }
    const std::optional<int> answer = program.Answer();
    if (!answer) {
        TraceFailure(path,
                     "may still run: the process \"kzm-keeper\" that waits for it was killed");
        return kNotRun;
    }
    return *answer;
}

std::string CCommandRunner::FindProblem(const Words& words) {
    const std::string path = FindProgram(words);
    if (path.empty()) {
        return kNotOnPath;
    }
    return IsProgram(path) ? "" : "is no program that can be started";
}

std::string CCommandRunner::FindProgram(const Words& words) {
    const std::string& program = words.front();
    if (program.find('/') != std::string::npos) {
        return program;
    }
    std::istringstream folders(kSearchPath);
    std::string folder;
    while (std::getline(folders, folder, ':')) {
        folder.append("/").append(program);
        if (IsProgram(folder)) {
            return folder;
        }
    }
    return {};
}

void CCommandRunner::EndAll() {
    ++endings;
}
