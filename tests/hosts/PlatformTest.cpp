// The platform libraries alone in host processes that close streams and cancel threads.

#include "comlib/CTraceUtility.h"
#include "providerbase/CVendor.h"
#include "tests/hosts/ProcessState.h"
#include "tests/support/CChildProcess.h"
#include "tests/support/CPthread.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <string>

using std::string;

namespace {

constexpr unsigned int kAllLevels = 15;

// ---- Threads that are cancelled ----

class CancelledVendor : public testing::Test {
protected:
    CancelledVendor() {
        EXPECT_EQ(0, pipe2(m_pipe.data(), O_CLOEXEC));
        // Says that it runs: by a descriptor it would not be told apart from its children.
        m_description.m_commands["Sleep"] = {"/bin/sh", "-c",
                                             "echo $$ > /proc/" + std::to_string(getpid()) +
                                                 "/fd/" + std::to_string(m_pipe[1]) +
                                                 "; exec sleep 600"};
    }
    ~CancelledVendor() override {
        close(m_pipe[0]);
        close(m_pipe[1]);
    }

    pid_t ReadProcess() const {
        std::array<char, 32> text{};
        EXPECT_LT(0, read(m_pipe[0], text.data(), text.size() - 1));
        return std::atoi(text.data());
    }

    std::array<int, 2> m_pipe{};
    CDeviceDescription m_description;
};

TEST_F(CancelledVendor, EndsItsCommandAndTakesItsStatus) {
    CVendor vendor("Logger", "Logger", m_description);
    const std::size_t descriptors = OpenDescriptors();
    CPthread thread([&] { vendor.ExecuteCommand("Sleep"); });
    const pid_t process = ReadProcess();
    thread.Cancel();
    EXPECT_TRUE(thread.WasCancelled());
    EXPECT_EQ(-1, kill(process, 0));
    EXPECT_EQ(descriptors, OpenDescriptors());
}

TEST(PendingRequest, DoesNotEndAThreadInTheTrace) {
    // A destructor traces, and a destructor that is left by a cancellation ends the process.
    struct CTracing {
        ~CTracing() { CTraceUtility::WriteDebug("Test", CTraceUtility::TRACE_DBG_VALUE, "a line"); }
    };
    ASSERT_TRUE(CTraceUtility::SetDestination(kAllLevels, "/dev/null"));
    bool hasReturned = false;
    CPthread thread([&] {
        pthread_cancel(pthread_self());
        { const CTracing tracing; }
        CTraceUtility::SetDestination(kAllLevels, "/dev/null");
        hasReturned = true;
        pthread_testcancel();
    });
    EXPECT_TRUE(thread.WasCancelled());
    EXPECT_TRUE(hasReturned);
    CTraceUtility::SetDestination(0, "");
}

TEST(PendingRequest, DoesNotLeaveADescriptionOpen) {
    const std::size_t descriptors = OpenDescriptors();
    bool hasReturned = false;
    CPthread thread([&] {
        pthread_cancel(pthread_self());
        CDeviceDescription::Read("/proc/self/stat");
        hasReturned = true;
        pthread_testcancel();
    });
    EXPECT_TRUE(thread.WasCancelled());
    EXPECT_TRUE(hasReturned);
    EXPECT_EQ(descriptors, OpenDescriptors());
}

// ---- Standard streams that are closed ----

// Descriptors 0 to 2 by the bits of the set.
void CloseStreams(unsigned int set) {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if ((set >> static_cast<unsigned int>(stream) & 1U) != 0) {
            close(stream);
        }
    }
}

class ClosedStreams : public testing::TestWithParam<unsigned int> {};

TEST_P(ClosedStreams, AreNotTakenForTheTraceFile) {
    CChildProcess child([] {
        CloseStreams(GetParam());
        if (!CTraceUtility::SetDestination(kAllLevels, "/dev/null")) {
            return 1;
        }
        int wrong = 0;
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            const bool isClosed = (GetParam() >> static_cast<unsigned int>(stream) & 1U) != 0;
            wrong += isClosed != (fcntl(stream, F_GETFD) == -1) ? 1 : 0;
        }
        return wrong;
    });
    EXPECT_EQ(0, child.Wait());
}

TEST_P(ClosedStreams, AreOpenInACommand) {
    CChildProcess child([] {
        CloseStreams(GetParam());
        CDeviceDescription description;
        description.m_commands["Look"] = {
            "/bin/sh", "-c", "for n in 0 1 2; do test -c /proc/$$/fd/$n || exit $((10 + n)); done"};
        return CVendor("Logger", "Logger", description).ExecuteCommand("Look");
    });
    EXPECT_EQ(0, child.Wait());
}

INSTANTIATE_TEST_SUITE_P(Set, ClosedStreams, testing::Range(0U, 8U));

} // namespace
