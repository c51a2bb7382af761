#pragma once

#include <chrono>
#include <string>
#include <vector>

// Runs one command to its end, outside the caller's session of streams, descriptors and
// environment, in any host program:
//
// - SIGCHLD may be ignored or handled, and any child waited for, on any thread: an answer is never
//   lost. The host gets no SIGCHLD for a command and sees no child but by a wait with __WALL, which
//   takes nothing away (CKeptProcess.h). Its own children are left alone.
// - Signals of the host are handled while a command runs, also on the calling thread, and make its
//   time neither shorter nor longer. The thread's signal mask is as it was afterwards.
// - No descriptor is opened in the host: 0 to 2 may be closed, and none may be left.
// - Two processes more are needed. Nothing of the host is copied for them, however large it is.
// - The thread needs 16 KiB of stack, the least that a thread can have.
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
    // longer than the time-out, whatever it then ended with: its process group, and the program
    // itself if it has left it, is then ended, first by SIGTERM, then by SIGKILL once the program
    // is gone or two seconds have passed; kNotRun when it could not be started. kTimedOut and
    // kNotRun come with a trace line at level 2.
    //
    // Returns within the time-out and five seconds once the program was started. One that cannot be
    // ended by then, because it has become another user's or hangs in the system, is left to itself
    // and answered with kTimedOut; the trace says that it goes on. So it does when somebody kills
    // the process "kzm-keeper" that waits for it: that is answered with kNotRun at once.
    //
    // Can be called from any thread. Processes that the program leaves behind in time, or that have
    // left its process group, are not ended. A thread that is cancelled while it waits ends the
    // program as a time-out does.
    static int Run(const std::vector<std::string>& words, std::chrono::seconds timeout);

    // Why the program words[0] could not be started, as the end of a sentence that begins with it;
    // empty when it can be. Starts nothing.
    static std::string FindProblem(const std::vector<std::string>& words);

    // The path of the program words[0]; empty when no folder of the fixed PATH has it.
    static std::string FindProgram(const std::vector<std::string>& words);

    // Ends the process groups of the commands that run now, as a time-out does, but at once: Run
    // then returns the status that they end with. Can be called from any thread.
    static void EndAll();
};
