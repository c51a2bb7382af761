#include "providerd/FrameTransfer.h"

#include "serverbase/Frames.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <thread>

using providerd::Deadline;
using providerd::ReceiveFrame;
using providerd::SendFrame;
using providerd::Transfer;
using providerd::WaitHungUp;
using providerd::WaitReadable;

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPatience(10);

Deadline Soon() {
    return Clock::now() + std::chrono::milliseconds(20);
}

std::string FrameOf(const std::string& payload) {
    messages::CPayloadWriter writer;
    for (const char c : payload) {
        writer.PutByte(static_cast<std::uint8_t>(c));
    }
    return writer.TakeFrame();
}

class FrameTransfer : public testing::Test {
protected:
    FrameTransfer() { EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, m_ends)); }
    ~FrameTransfer() override {
        close(m_ends[0]);
        CloseOther();
    }
    void CloseOther() {
        if (m_ends[1] != -1) {
            close(m_ends[1]);
        }
        m_ends[1] = -1;
    }
    [[nodiscard]] int Ours() const { return m_ends[0]; }
    [[nodiscard]] int Other() const { return m_ends[1]; }

private:
    int m_ends[2] = {-1, -1};
};

TEST_F(FrameTransfer, BringsEveryPayloadAsItIs) {
    for (const std::size_t size : {0U, 1U, 4U, 262144U, 262145U, 1000000U}) {
        SCOPED_TRACE(size);
        std::string sent(size, 'x');
        for (std::size_t i = 0; i < size; ++i) {
            sent[i] = static_cast<char>(i * 31);
        }
        std::thread sender(
            [&] { EXPECT_EQ(Transfer::Done, SendFrame(Other(), FrameOf(sent), std::nullopt)); });
        std::string received = "before";
        EXPECT_EQ(Transfer::Done, ReceiveFrame(Ours(), &received, std::nullopt));
        sender.join();
        EXPECT_EQ(sent, received);
    }
}

TEST_F(FrameTransfer, TakesOneFrameAfterTheOther) {
    const std::string frames = FrameOf("one") + FrameOf("two");
    ASSERT_EQ(Transfer::Done, SendFrame(Other(), frames, std::nullopt));
    std::string payload;
    for (const char* expected : {"one", "two"}) {
        EXPECT_EQ(Transfer::Done, ReceiveFrame(Ours(), &payload, std::nullopt));
        EXPECT_EQ(expected, payload);
    }
    EXPECT_EQ(Transfer::TimedOut, ReceiveFrame(Ours(), &payload, Soon()));
}

TEST_F(FrameTransfer, EndsWithinAFrame) {
    const std::pair<std::string, Transfer> rows[] = {
        {"", Transfer::Ended},
        {std::string("\1\0", 2), Transfer::Broken},
        {std::string("\3\0\0\0", 4), Transfer::Broken},
        {std::string("\3\0\0\0xx", 6), Transfer::Broken}};
    for (const auto& [part, expected] : rows) {
        SCOPED_TRACE(testing::PrintToString(part));
        int ends[2];
        ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, ends));
        EXPECT_EQ(static_cast<ssize_t>(part.size()), send(ends[1], part.data(), part.size(), 0));
        close(ends[1]);
        std::string payload;
        EXPECT_EQ(expected, ReceiveFrame(ends[0], &payload, std::nullopt));
        close(ends[0]);
    }
}

TEST_F(FrameTransfer, EndsWhereThereIsNoConnection) {
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    std::string payload;
    EXPECT_EQ(Transfer::Ended, SendFrame(ends[1], FrameOf("x"), std::nullopt));
    close(ends[1]);
    EXPECT_EQ(Transfer::Ended, ReceiveFrame(ends[0], &payload, std::nullopt));
    close(ends[0]);
}

TEST_F(FrameTransfer, RefusesATooLargeFrameAtOnce) {
    const std::string header("\1\0\0\2", 4); // one byte more than there may be
    ASSERT_EQ(4, send(Other(), header.data(), header.size(), 0));
    std::string payload;
    EXPECT_EQ(Transfer::Broken, ReceiveFrame(Ours(), &payload, std::nullopt));
}

TEST_F(FrameTransfer, ReceivesALongPayloadOnlyInItsShareOfTheMemory) {
    daemon_base::CMemoryBudget budget(200'000);
    daemon_base::CMemoryShare first(budget);
    daemon_base::CMemoryShare second(budget);
    const auto receive = [this](std::size_t bytes, daemon_base::CMemoryShare* share) {
        std::thread sender([&] {
            SendFrame(Other(), FrameOf(std::string(bytes, 'x')), Clock::now() + kPatience);
        });
        std::string payload;
        const Transfer transfer = ReceiveFrame(Ours(), &payload, std::nullopt, share);
        EXPECT_EQ(transfer == Transfer::Done ? bytes : 0, payload.size());
        sender.join();
        return transfer;
    };
    EXPECT_EQ(Transfer::Done, receive(100'001, &first));
    EXPECT_EQ(Transfer::Done, receive(65'536, &second)) << "which is short";
    EXPECT_EQ(Transfer::Done, receive(99'999, &second));
    first.Release();
    EXPECT_EQ(Transfer::Done, receive(100'001, &first));
    EXPECT_EQ(Transfer::NoRoom, receive(100'002, &first));
}

TEST_F(FrameTransfer, SendsToNobodyWithoutASignal) {
    CloseOther();
    EXPECT_EQ(Transfer::Ended, SendFrame(Ours(), FrameOf("x"), std::nullopt));
}

TEST_F(FrameTransfer, SendsNoFrameThatIsNone) {
    EXPECT_EQ(Transfer::Ended, SendFrame(Ours(), "", std::nullopt));
    EXPECT_FALSE(WaitReadable(Other(), Soon()));
}

TEST_F(FrameTransfer, TakesNoLongerThanItMay) {
    const std::string large(4'000'000, 'x');
    EXPECT_EQ(Transfer::TimedOut, SendFrame(Ours(), large, Soon()));
    std::string payload;
    EXPECT_EQ(Transfer::TimedOut, ReceiveFrame(Ours(), &payload, Soon()));
    EXPECT_EQ(Transfer::TimedOut, ReceiveFrame(Ours(), &payload, Clock::now()));
    EXPECT_EQ(Transfer::TimedOut,
              ReceiveFrame(Ours(), &payload, Clock::now() - std::chrono::hours(1)));
}

TEST_F(FrameTransfer, WaitsThroughSignals) {
    struct sigaction before {};
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, &before); // without SA_RESTART
    const itimerval often{{0, 1000}, {0, 1000}};
    setitimer(ITIMER_REAL, &often, nullptr);
    const auto begin = Clock::now();
    std::string payload;
    EXPECT_EQ(Transfer::TimedOut, ReceiveFrame(Ours(), &payload, Soon()));
    EXPECT_FALSE(WaitReadable(Ours(), Soon()));
    EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(40));
    const itimerval never{};
    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &before, nullptr);
}

TEST_F(FrameTransfer, SeesTheOtherSidesEnd) {
    EXPECT_FALSE(WaitReadable(Ours(), Soon()));
    EXPECT_FALSE(WaitHungUp(Ours(), Soon()));
    EXPECT_EQ(1, send(Other(), "x", 1, 0));
    EXPECT_TRUE(WaitReadable(Ours(), std::nullopt));
    EXPECT_FALSE(WaitHungUp(Ours(), Soon()));
    const int second = dup(Other());
    CloseOther();
    EXPECT_FALSE(WaitHungUp(Ours(), Soon()));
    close(second);
    EXPECT_TRUE(WaitHungUp(Ours(), std::nullopt));
    EXPECT_TRUE(WaitReadable(Ours(), std::nullopt));
}

} // namespace
