#include "loggerctl/commands/UsageProbe.h"

#include "tests/support/CFailingCall.h"
#include "tests/support/CTempFile.h"
#include "tests/support/Descriptors.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <thread>

namespace {

using std::chrono::milliseconds;
using Usages = record::CUsages;

// The name says what happens: a number is the answer, "hang" and "die" do so, the rest has no
// usage.
std::optional<int> Pretend(const std::string& mountPoint) {
    if (mountPoint == "hang") {
        std::this_thread::sleep_for(std::chrono::seconds(30));
    }
    if (mountPoint == "die") {
        std::_Exit(1);
    }
    return mountPoint.find_first_of("0123456789") == 0 ? std::make_optional(std::stoi(mountPoint))
                                                       : std::nullopt;
}

TEST(AskUsages, AnswersInOrder) {
    EXPECT_EQ(commands::AskUsages({"12", "none", "0", "100"}, {}, Pretend),
              (Usages{12, std::nullopt, 0, 100}));
    EXPECT_EQ(commands::AskUsages({}, {}, Pretend), Usages{});
}

TEST(AskUsages, GoesOnBehindTheOneThatHangsOrDies) {
    const commands::CUsageLimits limits{milliseconds(200), milliseconds(5000)};
    EXPECT_EQ(commands::AskUsages({"1", "hang", "3", "die", "5", "hang"}, limits, Pretend),
              (Usages{1, std::nullopt, 3, std::nullopt, 5, std::nullopt}));
}

TEST(AskUsages, KeepsToTheTimeOfAllTogether) {
    const commands::CUsageLimits limits{milliseconds(200), milliseconds(500)};
    const std::vector<std::string> mountPoints(50, "hang");
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(commands::AskUsages(mountPoints, limits, Pretend), Usages(50));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, milliseconds(3000));
}

TEST(AskUsages, HasNoneWhereNobodyCanBeAsked) {
    for (const char* call : {"mmap", "pipe"}) {
        const CFailingCall failing(call, EMFILE);
        EXPECT_EQ(commands::AskUsages({"1"}, {}, Pretend), Usages{std::nullopt}) << call;
    }
}

// 1 where the descriptor of this number is open, 0 where it is not.
std::optional<int> IsOpen(const std::string& number) {
    return fcntl(std::stoi(number), F_GETFD) == -1 ? 0 : 1;
}

TEST(AskUsages, KeepsNothingOpenOfTheProcessThatAsks) {
    const CTempFile file("");
    const int opened = open(file.Path().c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_GT(opened, STDERR_FILENO);
    const std::vector<std::string> numbers{std::to_string(STDOUT_FILENO),
                                           std::to_string(STDERR_FILENO), std::to_string(opened)};
    const commands::CUsageLimits limits{milliseconds(20000), milliseconds(20000)};
    EXPECT_EQ(commands::AskUsages(numbers, limits, IsOpen), (Usages{0, 0, 0}));
    close(opened);
}

TEST(AskUsages, LeavesNothingOpen) {
    const auto before = Descriptors();
    commands::AskUsages({"1", "die", "3"}, {}, Pretend);
    EXPECT_EQ(Descriptors(), before);
}

TEST(AskUsage, AsksTheFileSystem) {
    const std::optional<int> root = commands::AskUsage("/");
    ASSERT_TRUE(root.has_value());
    EXPECT_GE(*root, 0);
    EXPECT_LE(*root, 100);
    EXPECT_EQ(commands::AskUsage("/proc"), std::nullopt);
    EXPECT_EQ(commands::AskUsage("/no/such/folder"), std::nullopt);
    EXPECT_EQ(commands::AskUsage("."), std::nullopt);
    EXPECT_EQ(commands::AskUsage(""), std::nullopt);
}

} // namespace
