// Handlers that the host had set before, called as the kernel would call them.

#include "comlib/KzmException.h"
#include "tests/hosts/HostProcess.h"
#include "tests/support/TableTest.h"

#include <gtest/gtest.h>

#include <pthread.h>
#include <setjmp.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <fstream>
#include <string>
#include <thread>

namespace {

void Block(int signalNumber) {
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, signalNumber);
    pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
}

// One bit for each signal of interest that is blocked.
int Blocked() {
    int bits = 0;
    for (const int signalNumber : {SIGSEGV, SIGBUS, SIGUSR1, SIGUSR2}) {
        bits = bits * 2 + (IsBlocked(signalNumber) ? 1 : 0);
    }
    return bits;
}

void TranslateOnAnotherThread() {
    std::thread(KzmException::set_transrator).join();
}

struct FlagsRow {
    const char* name;
    int m_iFlags;
    int m_iAlsoBlocked;
};

void PrintTo(const FlagsRow& row, std::ostream* out) {
    *out << row.name;
}

constexpr int kResetHand = static_cast<int>(SA_RESETHAND);

const FlagsRow kFlags[] = {
    {"None", 0, 0},
    {"Mask", 0, SIGUSR1},
    {"NoDefer", SA_NODEFER, 0},
    {"NoDeferWithMask", SA_NODEFER, SIGUSR1},
    {"NoDeferWithItselfInTheMask", SA_NODEFER, SIGSEGV},
    {"ResetHand", kResetHand, 0},
    {"ResetHandNoDefer", kResetHand | SA_NODEFER, SIGUSR1},
    {"OnStack", SA_ONSTACK, 0},
    {"Restart", SA_RESTART, SIGBUS},
};

class FaultHandler : public testing::TestWithParam<FlagsRow> {
protected:
    void SetUp() override { SKIP_UNLESS_TRANSLATED(); }
};
INSTANTIATE_TEST_SUITE_P(With, FaultHandler, testing::ValuesIn(kFlags), RowName<FlagsRow>);

// ---- Each of these tells in the exit status what the host has seen ----

std::atomic<int> inHandler{0};
sigjmp_buf beforeFault;

void NoteAndReturn(int /*signalNumber*/, siginfo_t* /*info*/, void* /*context*/) {
    inHandler = Blocked();
}

void NoteAndJump(int /*signalNumber*/, siginfo_t* /*info*/, void* /*context*/) {
    inHandler = Blocked();
    siglongjmp(beforeFault, 1);
}

using Handler = void (*)(int, siginfo_t*, void*);

// A host that raises the signal, by a fault or by sending it, so many times.
std::string SeenBy(const FlagsRow& row, Handler handler, int times, bool isTranslating) {
    return EndOf([&row, handler, times, isTranslating] {
        SetHandler(SIGSEGV, handler, row.m_iFlags, row.m_iAlsoBlocked);
        Block(SIGUSR2);
        if (isTranslating) {
            TranslateOnAnotherThread();
        }
        for (volatile int time = 0; time < times; time = time + 1) {
            if (handler == NoteAndReturn) {
                raise(SIGSEGV);
            } else if (sigsetjmp(beforeFault, 1) == 0) {
                ReadFromNowhere();
            }
        }
        return inHandler * 16 + Blocked();
    });
}

TEST_P(FaultHandler, SeesWhatTheKernelWouldShow) {
    for (const Handler handler : {NoteAndReturn, NoteAndJump}) {
        for (const int times : {1, 2, 100}) {
            SCOPED_TRACE(times);
            EXPECT_EQ(SeenBy(GetParam(), handler, times, false),
                      SeenBy(GetParam(), handler, times, true));
        }
    }
}

// What cannot be kept: without SA_ONSTACK the kernel would have taken the thread's own stack.
TEST_P(FaultHandler, RunsOnTheAlternateStackOfItsThread) {
    EXPECT_EQ("exit 42", EndOf([] {
                  SetHandler(
                      SIGSEGV,
                      [](int, siginfo_t*, void*) {
                          stack_t stack{};
                          sigaltstack(nullptr, &stack);
                          _exit((stack.ss_flags & SS_ONSTACK) != 0 ? 42 : 1);
                      },
                      GetParam().m_iFlags);
                  TranslateOnAnotherThread();
                  static std::array<char, 64 * 1024> memory;
                  stack_t stack{};
                  stack.ss_sp = memory.data();
                  stack.ss_size = memory.size();
                  sigaltstack(&stack, nullptr);
                  ReadFromNowhere();
                  return 0;
              }));
}

// ---- Other ways to be told ----

TEST(FaultHandlerOther, WithoutInformationIsCalled) {
    SKIP_UNLESS_TRANSLATED();
    EXPECT_EQ("exit 42", EndOf([] {
                  signal(SIGFPE, [](int signalNumber) { _exit(signalNumber == SIGFPE ? 42 : 1); });
                  TranslateOnAnotherThread();
                  DivideByZero();
                  return 0;
              }));
}

// The host mends the registers and has the instruction run again, as virtual machines do.
TEST(FaultHandlerOther, CanMendTheFault) {
    SKIP_UNLESS_TRANSLATED();
    EXPECT_EQ("exit 42", EndOf([] {
                  static char* page = static_cast<char*>(
                      mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
                  SetHandler(SIGSEGV, [](int, siginfo_t* info, void*) {
                      mprotect(info->si_addr, 4096, PROT_READ | PROT_WRITE);
                  });
                  TranslateOnAnotherThread();
                  *static_cast<volatile char*>(page) = 42;
                  return static_cast<int>(*page);
              }));
}

// A line of what the kernel says of a thread; empty when it has ended.
std::string StatusOf(pid_t thread, const std::string& name) {
    std::ifstream status("/proc/self/task/" + std::to_string(thread) + "/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.compare(0, name.size(), name) == 0) {
            return line.substr(name.size());
        }
    }
    return "";
}

bool IsAsleep(pid_t thread) {
    return StatusOf(thread, "State:").find('S') != std::string::npos;
}

bool HasPending(pid_t thread) {
    return StatusOf(thread, "SigPnd:").find_first_not_of("\t0") != std::string::npos;
}

TEST(FaultHandlerOther, IgnoredAndSentDoesNotInterruptARead) {
    SKIP_UNLESS_TRANSLATED();
    EXPECT_EQ("exit 1", EndOf([] {
                  struct sigaction action {};
                  action.sa_handler = SIG_IGN;
                  sigaction(SIGSEGV, &action, nullptr);
                  KzmException::set_transrator();
                  int ends[2];
                  if (pipe(ends) != 0) {
                      return 2;
                  }
                  std::atomic<pid_t> reading{0};
                  ssize_t received = 0;
                  std::thread reader([&] {
                      char byte = 0;
                      reading = gettid();
                      received = read(ends[0], &byte, 1);
                  });
                  while (reading == 0 || !IsAsleep(reading)) {
                      std::this_thread::yield();
                  }
                  pthread_kill(reader.native_handle(), SIGSEGV);
                  while (HasPending(reading)) {
                      std::this_thread::yield();
                  }
                  static_cast<void>(!write(ends[1], "x", 1));
                  reader.join();
                  return static_cast<int>(received);
              }));
}

} // namespace
