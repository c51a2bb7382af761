#pragma once

#include <chrono>
#include <string>
#include <vector>

// Runs one command to its end, outside the caller's session of streams, descriptors and
// environment.
class CCommandRunner {
public:
    static constexpr int kTimedOut = 124;
    static constexpr int kNotRun = 127;
    static constexpr int kSignalBase = 128;

    // Runs the program words[0] with the arguments that follow, and waits for it; words must not be
    // empty. The program is started directly, in a process group of its own, with every signal at
    // its default and none blocked, standard streams on /dev/null, no other descriptor, and PATH
    // and LANG alone in its environment. One without a slash is looked up on that PATH.
    //
    // Returns its exit status; kSignalBase + n when signal n ended it; kTimedOut when it took
    // longer than the time-out: its process group is then ended, first by SIGTERM, then by SIGKILL
    // once the program is gone or two seconds have passed; kNotRun, with a trace line at level 2,
    // when it could not be started or when the host program has taken its status away.
    //
    // Can be called from any thread. Processes that the program leaves behind in time are not
    // ended.
    static int Run(const std::vector<std::string>& words, std::chrono::seconds timeout);

    // Why the program words[0] could not be started, as the end of a sentence that begins with it;
    // empty when it can be. Starts nothing.
    static std::string FindProblem(const std::vector<std::string>& words);

    // Ends the process groups of the commands that run now, as a time-out does, but at once: Run
    // then returns the status that they end with. Can be called from any thread.
    static void EndAll();
};
