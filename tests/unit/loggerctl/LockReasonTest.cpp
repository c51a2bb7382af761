// What the tool says when a lock was not obtained.

#include "KzmPaths.h"
#include "loggerctl/agent/Failures.h"
#include "loggerctl/agent/Locks.h"
#include "tests/support/CChildProcess.h"
#include "tests/support/CTestRoot.h"
#include "tests/system/loggerctl/CHeldLock.h"
#include "tests/unit/loggerctl/Answer.h"
#include "tests/unit/loggerctl/HostFiles.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

namespace {

using output::ExitCode;
using std::chrono::seconds;
using Texts = std::vector<std::string>;

const std::string kLock = KzmPaths::kLockFile;

bool BeginsWith(const std::string& text, const std::string& beginning) {
    return text.rfind(beginning, 0) == 0;
}

// ---- The settings lock ----

TEST(LockReason, NamesTheHolder) {
    const CTestRoot root;
    const CHeldLock lock;
    for (const char* method : {"GetParameter", "SetParameter"}) {
        const agent::CReasons reasons = agent::Explain(
            {{"TarnwellLogger", 2,
              std::string("CVELTARO_ToolServiceLogger::") + method + "() GetMutex failure"}});
        ASSERT_EQ(1U, reasons.m_texts.size());
        EXPECT_EQ(output::ExitCode::Busy, reasons.m_code);
        EXPECT_TRUE(BeginsWith(reasons.m_texts[0], "The settings lock " + kLock +
                                                       " stayed taken for 30 seconds, by process " +
                                                       std::to_string(getpid()) + " ("))
            << reasons.m_texts[0];
    }
}

TEST(LockReason, NamesTheFolderThatIsMissing) {
    const CTestRoot root;
    const std::string folder = std::filesystem::path(kLock).parent_path();
    std::filesystem::remove_all(folder);
    const agent::CReason reason = agent::WhyNoSettingsLock();
    EXPECT_EQ(output::ExitCode::Failure, reason.m_code);
    EXPECT_EQ(folder + ": does not exist. Create the lock file's folder with mode 0700.",
              reason.m_text);
}

TEST(LockReason, SaysWhoseTheLockIs) {
    const CTestRoot root;
    WriteFile(kLock, "");
    chmod(kLock.c_str(), 0600);
    if (geteuid() != 0) {
        GTEST_SKIP() << "this user cannot become another one";
    }
    CChildProcess child([] {
        const bool isOther = seteuid(kOrdinaryUser) == 0;
        const agent::CReason reason = agent::WhyNoSettingsLock();
        return isOther && reason.m_code == output::ExitCode::NoRights &&
                       BeginsWith(reason.m_text,
                                  "The settings lock " + kLock + " is for root alone, ")
                   ? 0
                   : 1;
    });
    EXPECT_EQ(0, child.Wait());
}

TEST(SettingsLock, IsHeldAsLongAsItLives) {
    const CTestRoot root;
    const auto isFree = [] {
        const int file = open(kLock.c_str(), O_RDWR | O_CLOEXEC);
        const bool isTaken = flock(file, LOCK_EX | LOCK_NB) == 0;
        close(file);
        return isTaken;
    };
    {
        const agent::CSettingsLock lock;
        EXPECT_TRUE(lock.IsHeld());
        EXPECT_FALSE(isFree());
    }
    EXPECT_TRUE(isFree());
}

// ---- The callers' lock ----

TEST(CallerLock, IsRefusedWhileAnotherChangeIsUnderWay) {
    const CTestRoot root;
    const auto first = agent::TakeCallerLock("No.", seconds(0));
    ASSERT_TRUE(first);
    const std::string by = "Another change of the settings is under way, by process " +
                           std::to_string(getpid()) + " (";

    const auto atOnce = agent::TakeCallerLock("No.", seconds(0));
    ASSERT_FALSE(atOnce);
    EXPECT_EQ(output::ExitCode::Busy, atOnce.error().m_code);
    EXPECT_EQ("No.", atOnce.error().m_headline);
    ASSERT_EQ(1U, atOnce.error().m_reasons.size());
    const std::string& reason = atOnce.error().m_reasons[0];
    EXPECT_TRUE(BeginsWith(reason, by)) << reason;
    const std::string advice = "). Try again later, or wait with --wait SECONDS.";
    EXPECT_EQ(advice, reason.substr(reason.size() - advice.size()));

    const auto later = agent::TakeCallerLock("No.", seconds(1));
    ASSERT_FALSE(later);
    const std::string end = "), and did not end within 1 second. Try again later, or wait longer "
                            "with --wait SECONDS.";
    const std::string& waited = later.error().m_reasons.at(0);
    EXPECT_TRUE(BeginsWith(waited, by)) << waited;
    EXPECT_EQ(end, waited.substr(waited.size() - std::min(waited.size(), end.size())));
}

TEST(CallerLock, IsRefusedWithItsReason) {
    const CTestRoot root;
    std::filesystem::create_directories(KzmPaths::kCallerLock);
    const auto lock = agent::TakeCallerLock("No.", seconds(0));
    ASSERT_FALSE(lock);
    EXPECT_EQ(output::ExitCode::Failure, lock.error().m_code);
    ASSERT_EQ(1U, lock.error().m_reasons.size());
    EXPECT_TRUE(BeginsWith(lock.error().m_reasons[0], KzmPaths::kCallerLock))
        << lock.error().m_reasons[0];
}

} // namespace
