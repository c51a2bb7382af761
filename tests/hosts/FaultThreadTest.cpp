// Faults on threads in a narrow place.

#include "comlib/KzmException.h"
#include "tests/hosts/HostProcess.h"
#include "tests/hosts/IsThrown.h"

#include <gtest/gtest.h>

#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <functional>
#include <stdexcept>
#include <thread>

namespace {

class FaultThread : public testing::Test {
protected:
    void SetUp() override { SKIP_UNLESS_TRANSLATED(); }
};

void* RunBody(void* body) {
    (*static_cast<const std::function<void()>*>(body))();
    return nullptr;
}

void RunWithStack(std::size_t size, const std::function<void()>& body) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, size);
    pthread_t thread{};
    if (pthread_create(&thread, &attributes, RunBody, const_cast<std::function<void()>*>(&body)) ==
        0) {
        pthread_join(thread, nullptr);
    }
    pthread_attr_destroy(&attributes);
}

std::string EndWithStack(std::size_t size) {
    return EndOf([size] {
        int status = 1;
        RunWithStack(size, [&status] {
            KzmException::set_transrator();
            status = IsThrown() && IsThrown() ? 0 : 1;
        });
        return status;
    });
}

TEST_F(FaultThread, WithASmallStackIsTranslated) {
    EXPECT_EQ("exit 0", EndWithStack(64 * 1024));
}

// Whether the kernel's frame and the unwinder fit in depends on the processor.
TEST_F(FaultThread, WithTheSmallestStackIsTranslatedOrEndsTheProcess) {
    const std::string end = EndWithStack(static_cast<std::size_t>(sysconf(_SC_THREAD_STACK_MIN)));
    EXPECT_TRUE(end == "exit 0" || end == "SEGV") << end;
}

// ---- Overflow ----

void UseAlternateStack() {
    static std::array<char, 64 * 1024> memory;
    stack_t stack{};
    stack.ss_sp = memory.data();
    stack.ss_size = memory.size();
    sigaltstack(&stack, nullptr);
}

// Keeps the compiler from making a loop of a recursion.
void Use(void* local) {
    __asm__ volatile("" : : "r"(local) : "memory");
}

// Has nothing to clean up.
[[gnu::noinline]] int Recurse(int depth) {
    std::array<char, 512> local;
    Use(local.data());
    const int below = depth < 0 ? 0 : Recurse(depth + 1);
    Use(local.data());
    return below;
}

int Overflow() {
    KzmException::set_transrator();
    try {
        return Recurse(0) == 0 ? 1 : 2;
    } catch (const KzmException&) {
        return IsThrown() ? 0 : 3;
    }
}

// On a stack that is soon at its end.
std::string EndOnAShortStack(const std::function<int()>& body) {
    return EndOf([&body] {
        int status = 9;
        RunWithStack(256 * 1024, [&] { status = body(); });
        return status;
    });
}

TEST_F(FaultThread, ThatOverflowsItsStackEndsTheProcess) {
    EXPECT_EQ("SEGV", EndOnAShortStack(Overflow));
}

TEST_F(FaultThread, ThatOverflowsItsStackIsTranslatedOnAnAlternateOne) {
    EXPECT_EQ("exit 0", EndOnAShortStack([] {
                  UseAlternateStack();
                  return Overflow();
              }));
}

[[gnu::noinline]] int RecurseWithSomethingToCleanUp(int depth) {
    int destroyed = 0;
    const CCounter counter(&destroyed);
    Use(&destroyed);
    const int below = depth < 0 ? 0 : RecurseWithSomethingToCleanUp(depth + 1);
    Use(&destroyed);
    return below;
}

TEST_F(FaultThread, ThatOverflowsItsStackWithMuchToCleanUpIsTranslatedOrEndsTheProcess) {
    const std::string end = EndOnAShortStack([] {
        UseAlternateStack();
        KzmException::set_transrator();
        try {
            return RecurseWithSomethingToCleanUp(0);
        } catch (const KzmException&) {
            return 0;
        }
    });
    EXPECT_TRUE(end == "exit 0" || end == "ABRT" || end == "SEGV") << end;
}

// ---- A stack that is being left already ----

class CFaultsWhenDestroyed {
public:
    explicit CFaultsWhenDestroyed(int* thrown) : m_pThrown(thrown) {}
    ~CFaultsWhenDestroyed() { *m_pThrown += IsThrown() ? 1 : 0; }
    CFaultsWhenDestroyed(const CFaultsWhenDestroyed&) = delete;
    CFaultsWhenDestroyed& operator=(const CFaultsWhenDestroyed&) = delete;

private:
    int* m_pThrown;
};

TEST_F(FaultThread, ThatUnwindsForAnExceptionIsTranslated) {
    EXPECT_EQ("exit 1", EndOf([] {
                  KzmException::set_transrator();
                  int thrown = 0;
                  try {
                      const CFaultsWhenDestroyed faults(&thrown);
                      throw std::runtime_error("on its way");
                  } catch (const std::runtime_error&) {
                  }
                  return thrown;
              }));
}

TEST_F(FaultThread, ThatIsCancelledIsTranslated) {
    EXPECT_EQ("exit 1", EndOf([] {
                  int thrown = 0;
                  std::atomic<bool> isReady{false};
                  pthread_t thread{};
                  std::function<void()> body = [&] {
                      KzmException::set_transrator();
                      const CFaultsWhenDestroyed faults(&thrown);
                      isReady = true;
                      pause();
                  };
                  pthread_create(&thread, nullptr, RunBody, &body);
                  while (!isReady) {
                      std::this_thread::yield();
                  }
                  pthread_cancel(thread);
                  pthread_join(thread, nullptr);
                  return thrown;
              }));
}

// The frame above was written over: there is no way out that the unwinder could follow.
[[gnu::noinline]] void FaultBelowARuin() {
    auto* frame = static_cast<void* volatile*>(__builtin_frame_address(0));
    frame[0] = nullptr;
    frame[1] = reinterpret_cast<void*>(0x123456);
    ReadFromNowhere();
}

TEST_F(FaultThread, WithARuinedStackEndsTheProcess) {
    EXPECT_EQ("SEGV", EndOnAShortStack([] {
                  KzmException::set_transrator();
                  try {
                      FaultBelowARuin();
                  } catch (const KzmException&) {
                  }
                  return 0;
              }));
}

// ---- Forks ----

// In the child: 0 when it is translated.
int FaultInTheChild() {
    alarm(50); // a child inherits no alarm
    KzmException::set_transrator();
    return IsThrown() ? 0 : 1;
}

TEST_F(FaultThread, ThatForksWhileOthersFaultAndSetHandlersIsTranslatedInTheChild) {
    EXPECT_EQ("exit 0", EndOf([] {
                  std::atomic<bool> isOver{false};
                  std::thread other([&isOver] {
                      while (!isOver) {
                          signal(SIGBUS, SIG_DFL);
                          KzmException::set_transrator();
                          IsThrown();
                      }
                  });
                  int failed = 0;
                  for (int time = 0; time < 50; ++time) {
                      const pid_t child = fork();
                      if (child == 0) {
                          _exit(FaultInTheChild());
                      }
                      int status = 0;
                      waitpid(child, &status, 0);
                      failed += status == 0 ? 0 : 1;
                  }
                  isOver = true;
                  other.join();
                  return failed;
              }));
}

} // namespace
