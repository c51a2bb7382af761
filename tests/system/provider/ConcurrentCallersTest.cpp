// Two processes that set different settings at the same time.

#include "tests/support/CChildProcess.h"
#include "tests/support/CLoadedProvider.h"
#include "tests/support/CTestRoot.h"

#include "KzmPaths.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <thread>

namespace {

constexpr int kRounds = 25;

// The exit statuses of a child.
constexpr int kGood = 0;
constexpr int kBadAnswer = 1;
constexpr int kMixedFiles = 2;

std::string Text(const char* path) {
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

// Both files, read while nobody else can change them.
std::string FilesUnderLock() {
    const int descriptor = open(KzmPaths::kLockFile, O_WRONLY | O_CLOEXEC);
    flock(descriptor, LOCK_EX);
    std::string files = Text(KzmPaths::kAgentConfig) + Text(KzmPaths::kAlertConfig);
    close(descriptor);
    return files;
}

bool HoldOneOfBoth(const std::string& files) {
    const std::string sample = std::string(CTestRoot::kAgentConfig) + CTestRoot::kAlertConfig;
    return files == sample || files == ChangedAgent() + ChangedAlert();
}

int SetAgainAndAgain(const CLoggerConf& conf) {
    CLoadedProvider provider;
    for (int round = 0; round < kRounds; ++round) {
        const CCallOutcome outcome = provider.Set(conf);
        if (!outcome.m_sError.empty() || outcome.m_status != 0 || outcome.m_uiMethodResult != 0) {
            std::fprintf(stderr, "round %d answered 0x%08x %s\n", round, outcome.m_uiMethodResult,
                         outcome.m_sError.c_str());
            return kBadAnswer;
        }
        const std::string files = FilesUnderLock();
        if (!HoldOneOfBoth(files)) {
            std::fprintf(stderr, "round %d left:\n%s\n", round, files.c_str());
            return kMixedFiles;
        }
        // Long enough for the other one to come in between.
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    return kGood;
}

TEST(ConcurrentCallers, NeverSeeOrLeaveMixedSettings) {
    const CTestRoot root;
    WriteFile(std::string(KzmPaths::kDeviceFolder) + "/Logger.conf",
              "CheckInstall=/bin/true\nServiceStop=/bin/true\nServiceStart=/bin/true\n");
    CChildProcess first([] { return SetAgainAndAgain(SampleConf()); });
    CChildProcess second([] { return SetAgainAndAgain(ChangedConf()); });
    EXPECT_EQ(kGood, first.Wait());
    EXPECT_EQ(kGood, second.Wait());
    EXPECT_TRUE(HoldOneOfBoth(FilesUnderLock()));
}

} // namespace
