// A command's answer is its exit status, whatever the host does with signals and children.

#include "tests/hosts/CommandHost.h"
#include "tests/support/TableTest.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <thread>

using namespace CommandHost;
using std::string;

namespace {

std::atomic<int> signals{0};

void Count(int) {
    ++signals;
}

void CollectAll(int) {
    const int error = errno;
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
    }
    errno = error;
}

void SetHandler(int number, void (*handler)(int), int flags) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    sigaction(number, &action, nullptr);
}

// From now on a thread waits for any child there is.
void StartCollector(int options) {
    std::thread([options] {
        while (true) {
            if (waitpid(-1, nullptr, options) < 0) {
                usleep(100);
            }
        }
    }).detach();
}

// ---- SIGCHLD, and waits of the host's own ----

struct HostRow {
    const char* name;
    void (*prepare)();
};
void PrintTo(const HostRow& row, std::ostream* out) {
    *out << row.name;
}

class CommandStatus : public testing::TestWithParam<HostRow> {};

TEST_P(CommandStatus, IsTheCommandsOwn) {
    constexpr int kCommands = 30;
    EXPECT_EQ("good", In([] {
                  GetParam().prepare();
                  for (int status = 0; status < kCommands; ++status) {
                      const string answer = RunShell("exit " + std::to_string(status));
                      if (answer != std::to_string(status)) {
                          return answer;
                      }
                  }
                  const string late = RunShell("sleep 0.05; exit 3");
                  const string killed = RunShell("kill -TERM $$");
                  return late == "3" && killed == "143" ? "good" : late + "; " + killed;
              }));
}

const HostRow kHostRows[] = {
    {"Plain", [] {}},
    {"IgnoringIt", [] { signal(SIGCHLD, SIG_IGN); }},
    {"WantingNoZombies", [] { SetHandler(SIGCHLD, Count, SA_NOCLDWAIT); }},
    {"CollectingInAHandler", [] { SetHandler(SIGCHLD, CollectAll, SA_RESTART); }},
    {"CollectingInAThread", [] { StartCollector(0); }},
    {"CollectingAllKindsInAThread", [] { StartCollector(__WALL); }},
    {"CollectingAllKindsAndIgnoringIt",
     [] {
         signal(SIGCHLD, SIG_IGN);
         StartCollector(__WALL);
     }},
    {"BlockingAllSignals",
     [] {
         sigset_t all;
         sigfillset(&all);
         pthread_sigmask(SIG_BLOCK, &all, nullptr);
     }},
    {"TakingOrphansIn", [] { prctl(PR_SET_CHILD_SUBREAPER, 1); }},
};
INSTANTIATE_TEST_SUITE_P(InAHost, CommandStatus, testing::ValuesIn(kHostRows), RowName<HostRow>);

class CommandTimeOut : public CommandStatus {};

TEST_P(CommandTimeOut, IsAnsweredHoweverTheCommandEnds) {
    EXPECT_EQ("124 \"/bin/sh\" took longer than TimeoutSeconds and was ended", In([] {
                  GetParam().prepare();
                  return RunShell("trap 'exit 0' TERM; sleep 60 & wait", 1);
              }));
}

const HostRow kTimeOutRows[] = {kHostRows[1], kHostRows[5]};
INSTANTIATE_TEST_SUITE_P(InAHost, CommandTimeOut, testing::ValuesIn(kTimeOutRows),
                         RowName<HostRow>);

TEST(CommandInAHost, IsNoChildThatTheHostSees) {
    EXPECT_EQ("0; 0 signals, no child", In([] {
                  SetHandler(SIGCHLD, Count, 0);
                  prctl(PR_SET_CHILD_SUBREAPER, 1);
                  std::atomic<bool> isOver{false};
                  std::atomic<bool> hasChild{false};
                  std::thread watcher([&] {
                      siginfo_t info{};
                      while (!isOver) {
                          hasChild =
                              hasChild || waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0;
                          usleep(1000);
                      }
                  });
                  const string answer = RunShell("sleep 0.05");
                  isOver = true;
                  watcher.join();
                  const bool isLeft = waitpid(-1, nullptr, WNOHANG | __WALL) != -1;
                  return answer + "; " + std::to_string(signals) + " signals, " +
                         (hasChild ? "a child" : "no child") + (isLeft ? " and a rest" : "");
              }));
}

TEST(CommandInAHost, LeavesTheHostsChildrenToIt) {
    EXPECT_EQ("0; 7", In([] {
                  const pid_t child = fork();
                  if (child == 0) {
                      _exit(7);
                  }
                  const string answer = RunCommand({"/bin/true"});
                  int status = 0;
                  const pid_t collected = waitpid(-1, &status, 0);
                  return answer + "; " +
                         (collected == child ? std::to_string(WEXITSTATUS(status)) : "lost");
              }));
}

TEST(CommandInAHost, HasAParentWithANameOfItsOwn) {
    EXPECT_EQ("0", In([] { return RunShell("[ \"$(cat /proc/$PPID/comm)\" = kzm-keeper ]"); }));
}

// ---- Signals ----

struct TimerRow {
    const char* name;
    int flags;
};

class CommandUnderATimer : public testing::TestWithParam<TimerRow> {
protected:
    static void StartTimer() {
        constexpr int kMicroseconds = 5000;
        SetHandler(SIGALRM, Count, GetParam().flags);
        const itimerval often{{0, kMicroseconds}, {0, kMicroseconds}};
        setitimer(ITIMER_REAL, &often, nullptr);
    }
};

TEST_P(CommandUnderATimer, AnswersWithItsStatus) {
    EXPECT_EQ("3", In([] {
                  StartTimer();
                  return RunShell("sleep 0.2; exit 3");
              }));
}

TEST_P(CommandUnderATimer, HasNeitherLessTimeNorMore) {
    EXPECT_EQ("124 \"/bin/sleep\" took longer than TimeoutSeconds and was ended; in time", In([] {
                  StartTimer();
                  const Clock::time_point begin = Clock::now();
                  const string answer = RunCommand({"/bin/sleep", "60"}, 1);
                  const double seconds = SecondsSince(begin);
                  return answer + (seconds >= 1 && seconds < 3 ? "; in time" : "; not in time");
              }));
}

const TimerRow kTimerRows[] = {{"Interrupting", 0}, {"Restarting", SA_RESTART}};
INSTANTIATE_TEST_SUITE_P(InAHost, CommandUnderATimer, testing::ValuesIn(kTimerRows),
                         RowName<TimerRow>);

int handlerFile = -1;

TEST(CommandInAHost, LetsTheHostsHandlersRunMeanwhile) {
    EXPECT_EQ("0", In([] {
                  const CSharedFile file; // filled by a handler on the one thread of this process
                  handlerFile = open(file.Path().c_str(), O_WRONLY | O_CLOEXEC);
                  SetHandler(
                      SIGUSR1, [](int) { [[maybe_unused]] auto n = write(handlerFile, "x", 1); },
                      0);
                  return RunShell("kill -USR1 " + std::to_string(getpid()) + "; until [ -s " +
                                  file.Path() + " ]; do sleep 0.01; done");
              }));
}

TEST(CommandInAHost, LeavesTheThreadsSignalMaskAlone) {
    EXPECT_EQ("0; as before", In([] {
                  sigset_t some;
                  sigset_t after;
                  sigemptyset(&some);
                  sigaddset(&some, SIGUSR1);
                  pthread_sigmask(SIG_SETMASK, &some, nullptr);
                  const string answer = RunCommand({"/bin/true"});
                  pthread_sigmask(SIG_SETMASK, nullptr, &after);
                  const bool isSame = sigismember(&after, SIGUSR1) == 1 &&
                                      sigismember(&after, SIGUSR2) == 0 &&
                                      sigismember(&after, SIGALRM) == 0;
                  return answer + (isSame ? "; as before" : "; another");
              }));
}

} // namespace
