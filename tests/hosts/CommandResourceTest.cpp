// What a command needs of its host, what it takes, and that it leaves nothing behind.

#include "tests/hosts/CommandHost.h"
#include "tests/support/TableTest.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <thread>

using namespace CommandHost;
using std::string;

namespace {

// ---- Descriptors ----

class CommandWithStreamsClosed : public testing::TestWithParam<int> {};

// The command looks at the streams of its host, too, which are those of its parent.
TEST_P(CommandWithStreamsClosed, FindsDevNullAndTakesNoneOfThem) {
    const int closed = GetParam();
    string script = "for fd in 0 1 2; do [ /proc/$$/fd/$fd -ef /dev/null ] || exit 1; done; ";
    for (int stream = 0; stream < 3; ++stream) {
        if ((closed & 1 << stream) != 0) {
            script += "[ ! -e /proc/$PPID/fd/" + std::to_string(stream) + " ] || exit 2; ";
        }
    }
    EXPECT_EQ("7; as before", In([&] {
                  for (int stream = 0; stream < 3; ++stream) {
                      if ((closed & 1 << stream) != 0) {
                          close(stream);
                      }
                  }
                  const string before = Belongings();
                  const string answer = RunShell(script + "exit 7");
                  return answer + (before == Belongings() ? "; as before" : "; other than before");
              }));
}

INSTANTIATE_TEST_SUITE_P(Set, CommandWithStreamsClosed, testing::Range(0, 8));

void LimitDescriptors(rlim_t most) {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = most;
    setrlimit(RLIMIT_NOFILE, &limit);
}

// The sanitizers need descriptors to see what is an object, and one of them has a thread.
#ifdef KZM_NO_FAULT_TRANSLATION
#define SKIP_UNDER_SANITIZERS()                                                                    \
    GTEST_SKIP() << "the sanitizers need descriptors and threads themselves"
#else
#define SKIP_UNDER_SANITIZERS() static_cast<void>(0)
#endif

TEST(CommandInAHost, NeedsNoDescriptorOfTheHosts) {
    SKIP_UNDER_SANITIZERS();
    constexpr rlim_t kMost = 20;
    EXPECT_EQ("3; none left", In([] {
                  LimitDescriptors(kMost);
                  while (dup(STDERR_FILENO) >= 0) {
                  }
                  const string answer = RunShell("exit 3");
                  return answer + (dup(STDERR_FILENO) < 0 ? "; none left" : "; one left");
              }));
}

// ---- What is left behind ----

struct RunRow {
    const char* name;
    string (*run)();
    const char* answer;
};
void PrintTo(const RunRow& row, std::ostream* out) {
    *out << row.name;
}

// The answer, and whether the host then has what it had before.
string RunAgainAndAgain(string (*run)()) {
    run(); // what the libraries keep for ever, they have by then
    const string before = Belongings();
    for (int i = 0; i < 3; ++i) {
        run();
    }
    const string answer = run();
    const string after = Belongings();
    return answer + (before == after ? "; as before" : before + "; then " + after);
}

class CommandsRemains : public testing::TestWithParam<RunRow> {};

TEST_P(CommandsRemains, AreNone) {
    EXPECT_EQ(string(GetParam().answer) + "; as before",
              In([] { return RunAgainAndAgain(GetParam().run); }));
}

// Once it waits for the command.
const char kKillKeeper[] = "until [ \"$state\" = S ]; do read -r id name state rest < "
                           "/proc/$PPID/stat; done; kill -KILL $PPID; exit 3";

const RunRow kRunRows[] = {
    {"OfASuccess", [] { return RunCommand({"/bin/true"}); }, "0"},
    {"OfOneThatIsKilled", [] { return RunShell("kill -KILL $$"); }, "137"},
    {"OfAMissingProgram", [] { return RunCommand({"/missing"}); },
     "127 \"/missing\" cannot be started (No such file or directory); check the command line"},
    {"OfAFolder", [] { return RunCommand({"/etc"}); },
     "127 \"/etc\" cannot be started (Permission denied); check the command line"},
    {"OfOneThatIsNotOnThePath", [] { return RunCommand({"no-such-program"}); },
     "127 \"no-such-program\" is not on the fixed PATH; give its full path"},
    {"OfOneWhoseKeeperIsKilled", [] { return RunShell(kKillKeeper); },
     "127 \"/bin/sh\" may still run: the process \"kzm-keeper\" that waits for it was killed"},
};
INSTANTIATE_TEST_SUITE_P(All, CommandsRemains, testing::ValuesIn(kRunRows), RowName<RunRow>);

string RunWithoutDescriptors() {
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    LimitDescriptors(0);
    const string answer = RunCommand({"/bin/true"});
    LimitDescriptors(before.rlim_cur);
    return answer;
}

TEST(CommandInAHost, IsNotStartedWhereItMayHaveNoStreams) {
    SKIP_UNDER_SANITIZERS();
    EXPECT_EQ("127 \"/bin/true\" cannot be started (Too many open files); check the command line; "
              "as before",
              In([] { return RunAgainAndAgain(RunWithoutDescriptors); }));
}

// ---- Processes ----

// A host that may have so many processes, as a user who has no others.
string RunWithProcesses(rlim_t most) {
    constexpr uid_t kNobodysId = 64123;
    if (geteuid() == 0 && setuid(kNobodysId) != 0) {
        return "no other user";
    }
    const rlimit limit{most, most};
    setrlimit(RLIMIT_NPROC, &limit);
    const string before = Belongings();
    const string answer = RunShell("exit 3");
    return answer + (before == Belongings() ? "; as before" : "; other than before");
}

TEST(CommandInAHost, IsNotStartedWhereTooManyProcessesRun) {
    SKIP_UNDER_SANITIZERS();
    const char kRefused[] = "127 \"/bin/sh\" cannot be started (Resource temporarily unavailable); "
                            "check the command line; as before";
    EXPECT_EQ(kRefused, In([] { return RunWithProcesses(1); })); // the keeper is too many
    if (geteuid() == 0) {
        EXPECT_EQ(kRefused, In([] { return RunWithProcesses(2); })); // the command is
        EXPECT_EQ("3; as before", In([] { return RunWithProcesses(3); }));
    }
}

std::size_t CountDescriptors(const string& process) {
    using Iterator = std::filesystem::directory_iterator;
    return static_cast<std::size_t>(
        std::distance(Iterator("/proc/" + process + "/fd"), Iterator()));
}

// Runs commands while another thread copies the process again and again; the copies end when all is
// over. What the answers were, and how many copies have a descriptor more than the host had.
string RunWhileForking() {
    constexpr int kCommands = 40;
    constexpr std::size_t kMostCopies = 100;
    const std::size_t descriptors = CountDescriptors("self") - 1; // without the folder's own
    std::atomic<bool> isOver{false};
    std::vector<pid_t> copies;
    std::thread forks([&] {
        while (!isOver && copies.size() < kMostCopies) {
            const pid_t copy = fork();
            if (copy == 0) {
                pause();
            }
            if (copy > 0) { // kill would take another one for all processes
                copies.push_back(copy);
            }
        }
    });
    string answers = "good";
    for (int i = 0; i < kCommands; ++i) {
        const string answer = RunShell("exit 3");
        answers = answer == "3" ? answers : answer;
    }
    isOver = true;
    forks.join();
    int withMore = 0;
    for (const pid_t copy : copies) {
        withMore += CountDescriptors(std::to_string(copy)) > descriptors ? 1 : 0;
        kill(copy, SIGKILL);
        waitpid(copy, nullptr, 0);
    }
    return answers + "; " + std::to_string(withMore) + " with more";
}

TEST(CommandInAHost, NeitherWaitsForCopiesOfTheHostNorIsFoundInThem) {
    EXPECT_EQ("good; 0 with more", In(RunWhileForking));
}

// ---- The rest ----

TEST(CommandInAHost, StartsInAFolderThatIsGone) {
    EXPECT_EQ("3", In([] {
                  string folder = testing::TempDir() + "kzm-test-XXXXXX";
                  const bool isGone = mkdtemp(folder.data()) != nullptr &&
                                      chdir(folder.c_str()) == 0 && rmdir(folder.c_str()) == 0;
                  return isGone ? RunShell("exit 3") : "no folder";
              }));
}

TEST(CommandInAHost, LeavesAnEmptyCreationMaskAlone) {
    EXPECT_EQ("0; 0", In([] {
                  umask(0);
                  const string answer = RunShell("[ $(umask) = 0000 ]");
                  return answer + "; " + std::to_string(umask(0));
              }));
}

#ifdef KZM_NO_FAULT_TRANSLATION // the sanitizers need much themselves
constexpr std::size_t kSmallestStack = 512 * 1024;
#else
const auto kSmallestStack = static_cast<std::size_t>(sysconf(_SC_THREAD_STACK_MIN));
#endif

void* RunOnThread(void* answer) {
    *static_cast<string*>(answer) = RunShell("exit 3") + "; " + RunCommand({"/missing"});
    return nullptr;
}

TEST(CommandInAHost, RunsOnAThreadWithASmallStack) {
    EXPECT_EQ("3; 127 \"/missing\" cannot be started (No such file or directory); check the "
              "command line",
              In([] {
                  string answer;
                  pthread_t thread{};
                  pthread_attr_t attributes;
                  pthread_attr_init(&attributes);
                  pthread_attr_setstacksize(&attributes, kSmallestStack);
                  pthread_create(&thread, &attributes, RunOnThread, &answer);
                  pthread_join(thread, nullptr);
                  pthread_attr_destroy(&attributes);
                  return answer;
              }));
}

} // namespace
