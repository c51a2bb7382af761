#include "providerd/CWorkerProcess.h"

#include "providerd/WorkMessages.h"
#include "tests/unit/providerd/CFifo.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cerrno>

using providerd::CWorkerProcess;

namespace {

TEST(CWorkerProcess, EndsWithItsObject) {
    std::string error;
    {
        const auto worker = CWorkerProcess::Start(FAKE_WORKER, &error);
        ASSERT_NE(nullptr, worker) << error;
        EXPECT_TRUE(worker->IsReady());
        EXPECT_FALSE(worker->HasEnded());
    }
    EXPECT_EQ(-1, waitpid(-1, nullptr, WNOHANG));
    EXPECT_EQ(ECHILD, errno);
}

TEST(CWorkerProcess, TellsHowItEnded) {
    using End = CWorkerProcess::End;
    const std::pair<End, const char*> rows[] = {{End::ByItself, "exit status 0"},
                                                {End::Killed, "signal 9"}};
    for (const auto& [end, description] : rows) {
        std::string error;
        const auto worker = CWorkerProcess::Start(FAKE_WORKER, &error);
        ASSERT_NE(nullptr, worker) << error;
        EXPECT_TRUE(worker->Finish(end));
        EXPECT_TRUE(worker->HasEnded());
        EXPECT_EQ(description, worker->Description());
    }
}

TEST(CWorkerProcess, HasNotEndedWhileAnotherHasItsDescriptors) {
    const CFifo fifo;
    std::string error;
    const auto worker = CWorkerProcess::Start(FAKE_WORKER, &error);
    ASSERT_NE(nullptr, worker) << error;
    const std::string frame =
        Encode(providerd::CWorkRequest{"SetParameter", "leave " + fifo.Path(), "", ""});
    EXPECT_EQ(providerd::Transfer::Done,
              providerd::SendFrame(worker->Socket(), frame, std::nullopt));
    siginfo_t ended{};
    EXPECT_EQ(0, waitid(P_ALL, 0, &ended, WEXITED | WNOWAIT));
    EXPECT_FALSE(worker->HasEnded());
    fifo.Release();
    EXPECT_TRUE(worker->Finish(CWorkerProcess::End::ByItself));
}

} // namespace
