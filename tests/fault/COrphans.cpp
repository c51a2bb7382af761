#include "tests/fault/COrphans.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <string>
#include <thread>

using Clock = std::chrono::steady_clock;

namespace {

constexpr std::chrono::milliseconds kNap{2};

// Collects those that have ended; true when there are no others.
bool NoneIsLeft() {
    pid_t collected = 0;
    do {
        collected = waitpid(-1, nullptr, WNOHANG);
    } while (collected > 0);
    return collected == -1 && errno == ECHILD;
}

void EndAll() {
    while (!NoneIsLeft()) {
        std::ifstream children("/proc/self/task/" + std::to_string(gettid()) + "/children");
        pid_t child = 0;
        while (children >> child) {
            kill(child, SIGKILL);
        }
        std::this_thread::sleep_for(kNap);
    }
}

} // namespace

COrphans::COrphans() {
    prctl(PR_SET_CHILD_SUBREAPER, 1);
}

bool COrphans::HaveEnded(std::chrono::milliseconds time) const {
    const Clock::time_point deadline = Clock::now() + time;
    while (!NoneIsLeft()) {
        if (Clock::now() > deadline) {
            EndAll();
            return false;
        }
        std::this_thread::sleep_for(kNap);
    }
    return true;
}
