// Hosts that set handlers and masks at any time, also behind the provider's back.

#include "comlib/KzmException.h"
#include "providerbase/CVELTARO_ServerService.h"
#include "tests/hosts/HostProcess.h"
#include "tests/hosts/IsThrown.h"

#include <gtest/gtest.h>

#include <malloc.h>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <exception>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace {

using Handler = void (*)(int, siginfo_t*, void*);

constexpr int kHandled = 42;

class FaultHandlerChain : public testing::Test {
protected:
    void SetUp() override { SKIP_UNLESS_TRANSLATED(); }
};

void FaultOnAnotherThread() {
    std::thread(ReadFromNowhere).join();
}

void Exit(int /*signalNumber*/, siginfo_t* /*info*/, void* /*context*/) {
    _exit(kHandled);
}

// ---- A handler that calls what it has replaced ----

template <int number>
struct sigaction replaced;
std::string called;

template <int number>
void CallReplaced(int signalNumber, siginfo_t* info, void* context) {
    called += std::to_string(number);
    if (called.size() > 3) {
        _exit(1); // for ever, it seems
    }
    const struct sigaction& previous = replaced<number>;
    if (previous.sa_handler == SIG_DFL) {
        _exit(called == "321" ? kHandled : 1);
    }
    previous.sa_sigaction(signalNumber, info, context);
}

template <int number>
void SetCaller(int flags = 0) {
    struct sigaction action {};
    action.sa_sigaction = CallReplaced<number>;
    action.sa_flags = SA_SIGINFO | flags;
    sigaction(SIGSEGV, &action, &replaced<number>);
}

// ---- The tests ----

TEST_F(FaultHandlerChain, ANewerHandlerSeesEveryFaultUntilTheNextCall) {
    EXPECT_EQ("exit 42", EndOf([] {
                  KzmException::set_transrator();
                  SetHandler(SIGSEGV, Exit);
                  return IsThrown() ? 0 : 1;
              }));
}

TEST_F(FaultHandlerChain, TranslationComesBackWithTheNextCall) {
    EXPECT_EQ("exit 42", EndOf([] {
                  KzmException::set_transrator();
                  SetHandler(SIGSEGV, Exit);
                  KzmException::set_transrator();
                  if (!IsThrown()) {
                      return 1;
                  }
                  FaultOnAnotherThread();
                  return 0;
              }));
}

TEST_F(FaultHandlerChain, TheDefaultActionSetMeanwhileIsTaken) {
    EXPECT_EQ("SEGV", EndOf([] {
                  SetHandler(SIGSEGV, Exit);
                  KzmException::set_transrator();
                  signal(SIGSEGV, SIG_DFL);
                  KzmException::set_transrator();
                  if (!IsThrown()) {
                      return 1;
                  }
                  FaultOnAnotherThread();
                  return 0;
              }));
}

TEST_F(FaultHandlerChain, HandlersThatCallWhatTheyReplacedAreCalledOnceEach) {
    EXPECT_EQ("exit 42", EndOf([] {
                  SetCaller<1>();
                  KzmException::set_transrator();
                  SetCaller<2>(SA_NODEFER);
                  KzmException::set_transrator();
                  SetCaller<3>();
                  KzmException::set_transrator();
                  if (!IsThrown()) {
                      return 2;
                  }
                  FaultOnAnotherThread();
                  return 0;
              }));
}

TEST_F(FaultHandlerChain, ThatLeadsNowhereEndsInTheDefaultAction) {
    for (const bool isSent : {false, true}) {
        SCOPED_TRACE(isSent);
        EXPECT_EQ("SEGV", EndOf([isSent] {
                      KzmException::set_transrator();
                      for (int time = 1; time <= 3; ++time) {
                          SetCaller<2>(SA_NODEFER);
                          KzmException::set_transrator();
                      }
                      if (isSent) {
                          raise(SIGSEGV);
                      } else {
                          FaultOnAnotherThread();
                      }
                      return 0;
                  }));
    }
}

// Without the information it was given, which the interface allows, if not its contract.
TEST_F(FaultHandlerChain, AHandlerThatPassesNothingOnDoesNotLoop) {
    EXPECT_EQ("SEGV", EndOf([] {
                  KzmException::set_transrator();
                  sigaction(SIGSEGV, nullptr, &replaced<4>);
                  SetHandler(SIGSEGV, [](int signalNumber, siginfo_t*, void*) {
                      called += "4";
                      if (called.size() > 1) {
                          _exit(1);
                      }
                      replaced<4>.sa_sigaction(signalNumber, nullptr, nullptr);
                  });
                  KzmException::set_transrator();
                  FaultOnAnotherThread();
                  return 0;
              }));
}

TEST_F(FaultHandlerChain, AHostThatGoesOnSettingTheSameHandlersMakesNothingGrow) {
    EXPECT_EQ("exit 0", EndOf([] {
                  const auto used = [] {
                      for (int time = 0; time < 100; ++time) {
                          for (const Handler handler : {Handler{Exit}, Handler{CallReplaced<1>}}) {
                              SetHandler(SIGSEGV, handler);
                              KzmException::set_transrator();
                              signal(SIGSEGV, SIG_DFL);
                              KzmException::set_transrator();
                              SetHandler(SIGBUS, handler);
                              KzmException::set_transrator();
                          }
                      }
                      return mallinfo2().uordblks;
                  };
                  const std::size_t before = used();
                  return used() == before && IsThrown() ? 0 : 1;
              }));
}

TEST_F(FaultHandlerChain, ManyThreadsAtOnceWhileTheHostSetsHandlersAreTranslated) {
    EXPECT_EQ("exit 0", EndOf([] {
                  KzmException::set_transrator();
                  sigaction(SIGSEGV, nullptr, &replaced<5>);
                  std::atomic<int> running{4};
                  std::atomic<int> missed{0};
                  std::vector<std::thread> threads;
                  for (int thread = 0; thread < 4; ++thread) {
                      threads.emplace_back([&] {
                          for (int time = 0; time < 200; ++time) {
                              KzmException::set_transrator();
                              missed += IsThrown() ? 0 : 1;
                          }
                          --running;
                      });
                  }
                  while (running > 0) {
                      SetHandler(SIGSEGV, [](int signalNumber, siginfo_t* info, void* context) {
                          replaced<5>.sa_sigaction(signalNumber, info, context);
                      });
                      std::this_thread::yield();
                  }
                  for (std::thread& thread : threads) {
                      thread.join();
                  }
                  return missed.load();
              }));
}

// ---- Masks ----

TEST_F(FaultHandlerChain, AThreadWithAllSignalsBlockedIsTranslated) {
    EXPECT_EQ("exit 0", EndOf([] {
                  sigset_t all;
                  sigfillset(&all);
                  pthread_sigmask(SIG_SETMASK, &all, nullptr);
                  KzmException::set_transrator();
                  for (int time = 1; time <= 2; ++time) {
                      if (!IsThrown() || IsBlocked(SIGSEGV) || IsBlocked(SIGFPE) ||
                          !IsBlocked(SIGUSR1)) {
                          return time;
                      }
                  }
                  return 0;
              }));
}

// The handler of the host runs with more blocked, which the throw out of it brings back.
TEST_F(FaultHandlerChain, AThrowThroughTheHostsHandlerLeavesTheMaskAsItWas) {
    EXPECT_EQ("exit 0", EndOf([] {
                  KzmException::set_transrator();
                  sigaction(SIGSEGV, nullptr, &replaced<6>);
                  SetHandler(
                      SIGSEGV,
                      [](int signalNumber, siginfo_t* info, void* context) {
                          replaced<6>.sa_sigaction(signalNumber, info, context);
                      },
                      0, SIGUSR1);
                  return IsThrown() && !IsBlocked(SIGUSR1) && !IsBlocked(SIGSEGV) ? 0 : 1;
              }));
}

// ---- The host's own faults, when it has done with providers ----

TEST_F(FaultHandlerChain, TheHostHasItsFaultsToItselfOnceTheLastProviderIsGone) {
    EXPECT_EQ("exit 42", EndOf([] {
                  static int status = 1;
                  SetHandler(SIGSEGV, [](int, siginfo_t*, void*) { _exit(status); });
                  for (int time = 1; time <= 2; ++time) {
                      std::optional<CVELTARO_ServerService> first(std::in_place, "A", "A", "1");
                      const CVELTARO_ServerService last("B", "B", "1");
                      KzmException::set_transrator();
                      if (!IsThrown()) {
                          return 2;
                      }
                      first.reset();
                      if (!IsThrown()) {
                          return 3;
                      }
                  }
                  status = kHandled;
                  return IsThrown() ? 4 : 5;
              }));
}

// ---- Faults that nobody catches ----

void* const kPage = mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);

void WriteToPage() {
    *static_cast<volatile char*>(kPage) = 1;
}

void MendPage(int /*signalNumber*/, siginfo_t* /*info*/, void* /*context*/) {
    mprotect(kPage, 4096, PROT_READ | PROT_WRITE);
}

TEST_F(FaultHandlerChain, AFaultThatTheHostMendsAndNobodyCatchesLeavesNothingBehind) {
    EXPECT_EQ("exit 0", EndOf([] {
                  SetHandler(SIGSEGV, MendPage);
                  KzmException::set_transrator();
                  const auto used = [] {
                      for (int time = 0; time < 100; ++time) {
                          mprotect(kPage, 4096, PROT_NONE);
                          WriteToPage();
                      }
                      return mallinfo2().uordblks;
                  };
                  const std::size_t before = used();
                  return used() == before && std::uncaught_exceptions() == 0 ? 0 : 1;
              }));
}

TEST_F(FaultHandlerChain, AHandlerThatCallsWhatItReplacedKeepsItsMask) {
    EXPECT_EQ("exit 0", EndOf([] {
                  static int status = 1;
                  SetHandler(SIGSEGV, MendPage, 0, SIGBUS);
                  KzmException::set_transrator();
                  sigaction(SIGSEGV, nullptr, &replaced<7>);
                  SetHandler(
                      SIGSEGV,
                      [](int signalNumber, siginfo_t* info, void* context) {
                          replaced<7>.sa_sigaction(signalNumber, info, context);
                          status = IsBlocked(SIGUSR1) && !IsBlocked(SIGBUS) ? 0 : 2;
                      },
                      0, SIGUSR1);
                  WriteToPage();
                  return status;
              }));
}

TEST_F(FaultHandlerChain, AHandlerForOneTimeThatIsSetAgainIsCalledAgain) {
    EXPECT_EQ("exit 2", EndOf([] {
                  static int times = 0;
                  for (int time = 1; time <= 2; ++time) {
                      SetHandler(
                          SIGSEGV, [](int, siginfo_t*, void*) { ++times; },
                          static_cast<int>(SA_RESETHAND));
                      KzmException::set_transrator();
                      raise(SIGSEGV);
                  }
                  return times;
              }));
}

} // namespace
