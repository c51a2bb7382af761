#include "comlib/KzmException.h"
#include "tests/support/TableTest.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <string>
#include <thread>

namespace {

// ---- Faults ----

void ReadFrom(const void* address) {
    [[maybe_unused]] const int value = *static_cast<const volatile int*>(address);
}

void FaultInvalidAddress() {
    // Hidden from the compiler, which knows that nothing can be there.
    const void* volatile address = reinterpret_cast<const void*>(0x10);
    ReadFrom(address);
}

void FaultDivision() {
    volatile int zero = 0;
    [[maybe_unused]] const volatile int quotient = 1 / zero;
}

void Trap() {
    __builtin_trap();
}

void FaultInstruction() {
    void (*volatile const trap)() = Trap;
    trap();
}

// A page that is mapped, but lies behind the end of its (empty) file.
class CPageWithoutFile {
public:
    CPageWithoutFile() {
        m_pPage = mmap(nullptr, kSize, PROT_READ, MAP_SHARED, fileno(m_file.get()), 0);
    }
    ~CPageWithoutFile() { munmap(m_pPage, kSize); }
    CPageWithoutFile(const CPageWithoutFile&) = delete;
    CPageWithoutFile& operator=(const CPageWithoutFile&) = delete;

    void* m_pPage;

private:
    static constexpr std::size_t kSize = 4096;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> m_file{std::tmpfile(), std::fclose};
};

void FaultPage() {
    const CPageWithoutFile page;
    ReadFrom(page.m_pPage);
}

struct FaultRow {
    const char* name;
    int m_iSignal;
    void (*m_fault)();
};

void PrintTo(const FaultRow& row, std::ostream* out) {
    *out << row.name;
}

const FaultRow kFaultRows[] = {
    {"SIGSEGV", SIGSEGV, FaultInvalidAddress},
    {"SIGBUS", SIGBUS, FaultPage},
    {"SIGFPE", SIGFPE, FaultDivision},
    {"SIGILL", SIGILL, FaultInstruction},
};

// In the processes that die on purpose: they leave no core, and do not fault for ever when they
// should have died.
void PrepareToDie() {
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
    alarm(10);
}

// ---- The tests ----

class KzmExceptionTest : public testing::TestWithParam<FaultRow> {
protected:
    void SetUp() override {
#ifdef KZM_NO_FAULT_TRANSLATION
        GTEST_SKIP() << "the sanitizers handle the fault signals themselves";
#endif
        // A dying process begins afresh and runs one test only, so what other tests have installed
        // in this process is not in it.
        GTEST_FLAG_SET(death_test_style, "threadsafe");
    }
};

INSTANTIATE_TEST_SUITE_P(Faults, KzmExceptionTest, testing::ValuesIn(kFaultRows),
                         RowName<FaultRow>);

TEST_P(KzmExceptionTest, AFaultOfThisThreadIsThrownEveryTime) {
    for (int time = 1; time <= 100; ++time) {
        SCOPED_TRACE(time);
        KzmException::set_transrator();
        try {
            GetParam().m_fault();
            FAIL() << "nothing was thrown";
        } catch (const std::exception& exception) {
            const std::string expected = std::string(GetParam().name) + " at 0x";
            ASSERT_EQ(expected, std::string(exception.what()).substr(0, expected.size()));
        }
    }
}

TEST_P(KzmExceptionTest, AFaultOfAnotherThreadEndsTheProcess) {
    EXPECT_EXIT(
        {
            PrepareToDie();
            KzmException::set_transrator();
            std::thread(GetParam().m_fault).join();
        },
        testing::KilledBySignal(GetParam().m_iSignal), "");
}

TEST_P(KzmExceptionTest, ASignalThatIsSentEndsTheProcess) {
    EXPECT_EXIT(
        {
            PrepareToDie();
            KzmException::set_transrator();
            kill(getpid(), GetParam().m_iSignal);
        },
        testing::KilledBySignal(GetParam().m_iSignal), "");
    EXPECT_EXIT(
        {
            PrepareToDie();
            KzmException::set_transrator();
            raise(GetParam().m_iSignal);
        },
        testing::KilledBySignal(GetParam().m_iSignal), "");
}

constexpr int kHandled = 42;

void HandleByExit(int /*signalNumber*/) {
    _exit(kHandled);
}

void HandleWithInfo(int signalNumber, siginfo_t* info, void* context) {
    sigset_t blocked;
    sigemptyset(&blocked);
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    const bool isAsAsked = info != nullptr && info->si_signo == signalNumber &&
                           context != nullptr && sigismember(&blocked, SIGUSR1) == 1;
    _exit(isAsAsked ? kHandled : 1);
}

void HandleByReturning(int /*signalNumber*/) {}

// Sets what a host program had set before the first call.
void SetHostAction(int signalNumber, void (*handler)(int), int flags = 0) {
    PrepareToDie();
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    sigaction(signalNumber, &action, nullptr);
}

TEST_P(KzmExceptionTest, TheHandlerOfTheHostSeesTheFaultsOfOtherThreads) {
    EXPECT_EXIT(
        {
            SetHostAction(GetParam().m_iSignal, HandleByExit);
            KzmException::set_transrator();
            std::thread(GetParam().m_fault).join();
        },
        testing::ExitedWithCode(kHandled), "");
}

TEST_P(KzmExceptionTest, TheHandlerOfTheHostSeesSignalsThatAreSent) {
    EXPECT_EXIT(
        {
            SetHostAction(GetParam().m_iSignal, HandleByExit);
            KzmException::set_transrator();
            raise(GetParam().m_iSignal);
        },
        testing::ExitedWithCode(kHandled), "");
}

TEST_P(KzmExceptionTest, TheHandlerOfTheHostGetsItsInformationAndItsMask) {
    EXPECT_EXIT(
        {
            struct sigaction action {};
            action.sa_sigaction = HandleWithInfo;
            action.sa_flags = SA_SIGINFO;
            sigaddset(&action.sa_mask, SIGUSR1);
            sigaction(GetParam().m_iSignal, &action, nullptr);
            KzmException::set_transrator();
            std::thread(GetParam().m_fault).join();
        },
        testing::ExitedWithCode(kHandled), "");
}

TEST_P(KzmExceptionTest, AHandlerForOneTimeIsCalledOneTime) {
    EXPECT_EXIT(
        {
            SetHostAction(GetParam().m_iSignal, HandleByReturning, static_cast<int>(SA_RESETHAND));
            KzmException::set_transrator();
            std::thread(GetParam().m_fault).join();
        },
        testing::KilledBySignal(GetParam().m_iSignal), "");
}

TEST_P(KzmExceptionTest, AnIgnoredSignalIsIgnoredUnlessItIsAFault) {
    EXPECT_EXIT(
        {
            SetHostAction(GetParam().m_iSignal, SIG_IGN);
            KzmException::set_transrator();
            raise(GetParam().m_iSignal);
            _exit(kHandled);
        },
        testing::ExitedWithCode(kHandled), "");
    EXPECT_EXIT(
        {
            SetHostAction(GetParam().m_iSignal, SIG_IGN);
            KzmException::set_transrator();
            std::thread(GetParam().m_fault).join();
        },
        testing::KilledBySignal(GetParam().m_iSignal), "");
}

TEST_P(KzmExceptionTest, ThisThreadIsTranslatedWhateverTheHostHadSet) {
    EXPECT_EXIT(
        {
            SetHostAction(GetParam().m_iSignal, HandleByExit);
            KzmException::set_transrator();
            try {
                GetParam().m_fault();
            } catch (const KzmException& exception) {
                _exit(exception.GetSignal() == GetParam().m_iSignal ? 0 : 1);
            }
        },
        testing::ExitedWithCode(0), "");
}

TEST_P(KzmExceptionTest, ThreadsWithAnAlternateStackAreTranslated) {
    std::thread([] {
        std::string memory(256 * 1024, '\0');
        stack_t stack{};
        stack.ss_sp = memory.data();
        stack.ss_size = memory.size();
        sigaltstack(&stack, nullptr);
        KzmException::set_transrator();
        for (int time = 1; time <= 3; ++time) {
            SCOPED_TRACE(time);
            EXPECT_THROW(GetParam().m_fault(), KzmException);
        }
        stack.ss_flags = SS_DISABLE;
        sigaltstack(&stack, nullptr);
    }).join();
}

class CCounter {
public:
    explicit CCounter(int* count) : m_pCount(count) {}
    ~CCounter() { ++*m_pCount; }
    CCounter(const CCounter&) = delete;
    CCounter& operator=(const CCounter&) = delete;

private:
    int* m_pCount;
};

void FaultBelow(void (*fault)(), int* destroyed) {
    const CCounter counter(destroyed);
    fault();
}

TEST_P(KzmExceptionTest, TheDestructorsOfTheFramesRun) {
    KzmException::set_transrator();
    int destroyed = 0;
    try {
        const CCounter counter(&destroyed);
        FaultBelow(GetParam().m_fault, &destroyed);
    } catch (const KzmException&) {
    }
    EXPECT_EQ(2, destroyed);
}

using KzmExceptionOtherTest = KzmExceptionTest;
INSTANTIATE_TEST_SUITE_P(Other, KzmExceptionOtherTest, testing::Values(kFaultRows[0]),
                         RowName<FaultRow>);

TEST_P(KzmExceptionOtherTest, TheDestructorsOfTheFaultingFrameRun) {
    KzmException::set_transrator();
    int destroyed = 0;
    const volatile int* volatile nowhere = nullptr;
    try {
        const CCounter counter(&destroyed);
        [[maybe_unused]] const int value = *nowhere;
    } catch (const KzmException&) {
    }
    EXPECT_EQ(1, destroyed);
}

TEST_P(KzmExceptionOtherTest, OtherSignalsAreUntouched) {
    EXPECT_EXIT(
        {
            KzmException::set_transrator();
            kill(getpid(), SIGTERM);
        },
        testing::KilledBySignal(SIGTERM), "");
    EXPECT_EXIT(
        {
            PrepareToDie();
            KzmException::set_transrator();
            std::abort();
        },
        testing::KilledBySignal(SIGABRT), "");
}

TEST(KzmExceptionTextTest, NamesNoOtherSignal) {
    EXPECT_STREQ("signal at 0x10", KzmException(SIGTERM, reinterpret_cast<void*>(0x10)).what());
}

TEST(KzmExceptionTextTest, NamesTheSignalAndTheAddress) {
    EXPECT_STREQ("SIGSEGV at 0x10",
                 KzmException(SIGSEGV, reinterpret_cast<const void*>(0x10)).what());
    EXPECT_STREQ("SIGBUS at 0x0", KzmException(SIGBUS, nullptr).what());
    EXPECT_STREQ("SIGFPE at 0xffffffffffffffff",
                 KzmException(SIGFPE, reinterpret_cast<const void*>(~0UL)).what());
    EXPECT_EQ(SIGILL, KzmException(SIGILL, nullptr).GetSignal());
}

} // namespace
