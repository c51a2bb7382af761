#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

// A program that runs, and whose end nobody but this object learns of, whatever the host program
// does with SIGCHLD and with its own children.
//
// The program is no child of the host. A keeper stands between: a process with the host's memory
// and descriptors, so that starting it copies nothing, which starts the program, waits for its end,
// and keeps its id from being given to another until this object goes. Of the keeper the host sees
// no signal, and a wait without __WALL or __WCLONE does not see it; one with them takes nothing
// away that is needed. It blocks all signals, is called "kzm-keeper" in lists of processes, and is
// killed when the calling thread ends with the host; the program then goes on.
//
// No descriptor is made or held, in the host or in the keeper.
//
// For one thread at a time. The thread's signals are blocked while the program is started and while
// the keeper ends, not while the program runs.
class CKeptProcess {
public:
    static constexpr int kSignalBase = 128;

    CKeptProcess() = default;
    // Ends the keeper, and not the program. One that still runs belongs to init from now on (or to
    // the nearest process above that takes such children in).
    ~CKeptProcess();
    CKeptProcess(const CKeptProcess&) = delete;
    CKeptProcess& operator=(const CKeptProcess&) = delete;

    // Starts the program at the path with these words, of which the first is its name, in this
    // environment. It finds a process group of its own, every signal at its default and none
    // blocked, /dev/null as its standard streams, and no other descriptor.
    //
    // Once only. Returns 0, also when the keeper was killed meanwhile, or an error number: then
    // nothing runs, and nothing else may be called.
    int Start(const std::string& path, std::vector<std::string> words,
              std::vector<std::string> environment);

    // Waits until it has ended, or for this time; true in the first case. Signals of the host make
    // the time neither shorter nor longer. True as well when the keeper was killed.
    bool WaitFor(std::chrono::steady_clock::duration time);

    // Sends a signal to its process group, and to itself where it has left that group or the signal
    // is SIGKILL. Does nothing when the keeper was killed: the id may be another's.
    void Signal(int number) const;

    // Its exit status, or kSignalBase + n when signal n ended it. Nothing while it runs, and
    // nothing when the keeper was killed.
    [[nodiscard]] std::optional<int> Answer() const;

private:
    struct CKeeper;

    int StartKeeper();
    bool EndKeeper();

    CKeeper* m_keeper = nullptr; // its memory
    pid_t m_iKeeper = -1;        // its id; -1 when there is none
};
