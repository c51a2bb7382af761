// The history by itself: what is kept, what is listed, and what is left alone.

#include "history/CHistory.h"

#include "KzmPaths.h"
#include "history/CHistoryId.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/TableTest.h"
#include "tests/system/loggerctl/CGolden.h"
#include "tests/system/loggerctl/SampleHistory.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>

namespace fs = std::filesystem;
using namespace SampleHistory;

namespace {

struct stat StatusOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status;
}

mode_t ModeOf(const std::string& path) {
    return StatusOf(path).st_mode & 07777;
}

std::string Save(const std::string& reason) {
    std::string error;
    const std::optional<std::string> id = CHistory::Save(reason, &error);
    EXPECT_TRUE(id) << error;
    return id.value_or("");
}

std::vector<std::string> ListedIds() {
    std::string error;
    const auto entries = CHistory::List(&error);
    EXPECT_TRUE(entries) << error;
    std::vector<std::string> ids;
    for (const CHistoryEntry& entry : entries.value_or(std::vector<CHistoryEntry>())) {
        ids.push_back(entry.m_sId);
    }
    return ids;
}

void AddSample(const std::string& id) {
    Add(id, "a reason", SampleHistory::kAgentConfig, SampleHistory::kAlertConfig);
}

class History : public testing::Test {
protected:
    const CTestRoot m_root;
};

TEST_F(History, KeepsTheFilesWithWhatBelongsToThem) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give files away";
    }
    ASSERT_EQ(chown(KzmPaths::kAgentConfig, 12, 34), 0);
    ASSERT_EQ(chmod(KzmPaths::kAgentConfig, 0640), 0);
    const std::array<std::timespec, 2> times{{{1000, 5}, {2000, 7}}};
    ASSERT_EQ(utimensat(AT_FDCWD, KzmPaths::kAgentConfig, times.data(), 0), 0);

    const std::string id = Save("first\nsecond");

    EXPECT_EQ(ReadFile(Path(id + "/agent.cfg")), CTestRoot::kAgentConfig);
    EXPECT_EQ(ReadFile(Path(id + "/alert.cfg")), CTestRoot::kAlertConfig);
    EXPECT_EQ(ReadFile(Path(id + "/reason")), "first second\n");
    const struct stat copy = StatusOf(Path(id + "/agent.cfg"));
    EXPECT_EQ(copy.st_uid, 12U);
    EXPECT_EQ(copy.st_gid, 34U);
    EXPECT_EQ(copy.st_mode & 07777, 0640U);
    EXPECT_EQ(copy.st_mtim.tv_sec, 2000);
    EXPECT_EQ(copy.st_mtim.tv_nsec, 7);
}

TEST_F(History, GivesBackWhatItKept) {
    const std::string id = Save("why");
    std::string error;
    const auto copy = CHistory::Load(id, &error);
    ASSERT_TRUE(copy) << error;
    EXPECT_EQ(copy->m_files[0].m_sText, CTestRoot::kAgentConfig);
    EXPECT_EQ(copy->m_files[1].m_sText, CTestRoot::kAlertConfig);
    const auto entries = CHistory::List(&error);
    ASSERT_TRUE(entries) << error;
    ASSERT_EQ(entries->size(), 1U);
    EXPECT_EQ(entries->front().m_sReason, "why");
    EXPECT_EQ(entries->front().m_time, CHistoryId::TimeOf(id));
    EXPECT_FALSE(CHistory::Load(SampleHistory::kOlder, &error));
    EXPECT_NE(error.find(SampleHistory::kOlder), std::string::npos) << error;
}

TEST_F(History, MakesItsFolderForItsOwnerAlone) {
    umask(077);
    Save("x");
    umask(022);
    EXPECT_EQ(ModeOf(KzmPaths::kHistoryFolder), 0700U);
    for (const char* parent : {"/var", "/var/opt", "/var/opt/veltaro/kzm/logger"}) {
        EXPECT_EQ(ModeOf(CTestRoot::Path(parent)), 0755U) << parent;
    }
}

TEST_F(History, FollowsALinkInTheFilesPlace) {
    const std::string target = CTestRoot::Path("/etc/real.cfg");
    fs::rename(KzmPaths::kAgentConfig, target);
    fs::create_symlink(target, KzmPaths::kAgentConfig);
    const std::string id = Save("x");
    EXPECT_TRUE(S_ISREG(StatusOf(Path(id + "/agent.cfg")).st_mode));
    EXPECT_EQ(ReadFile(Path(id + "/agent.cfg")), CTestRoot::kAgentConfig);
}

TEST_F(History, KeepsTheNewestTwenty) {
    std::vector<std::string> ids;
    for (int i = 0; i < 23; ++i) {
        ids.push_back(Save("x"));
    }
    std::vector<std::string> wanted(ids.rbegin(), ids.rbegin() + 20);
    EXPECT_EQ(ListedIds(), wanted);
    EXPECT_EQ(Names().size(), 20U);
}

TEST_F(History, SparesTheEntryThatIsRestored) {
    const std::string oldest = Save("x");
    for (int i = 1; i < 20; ++i) {
        Save("x");
    }
    std::string error;
    const auto now = CSettingsCopy::OfNow(CSettingsCopy::Missing::Refuse, &error);
    ASSERT_TRUE(now) << error;
    ASSERT_TRUE(CHistory::SaveBeforeRestore(*now, oldest, &error)) << error;
    EXPECT_EQ(ListedIds().back(), oldest);
    EXPECT_EQ(Names().size(), 21U);
}

TEST_F(History, GoesOnBehindAnEntryOfTheFuture) {
    AddSample("20990101-000000-041");
    EXPECT_EQ(Save("x"), "20990101-000000-042");
}

TEST_F(History, RemovesWhatInterruptedSavesLeft) {
    AddSample(std::string(".new-") + kOlder);
    AddSample(std::string(".old-") + kNewer);
    MakeFolder();
    fs::create_directory(Path(".new-20260101-000000-001"));
    const std::string id = Save("x");
    EXPECT_EQ(Names(), std::vector<std::string>{id});
}

TEST_F(History, LeavesForeignNamesAlone) {
    MakeFolder();
    const std::string outside = CTestRoot::Path("/outside");
    fs::create_directory(outside);
    WriteFile(outside + "/agent.cfg", "precious\n");
    WriteFile(Path("notes.txt"), "mine\n");
    fs::create_directory(Path(".new-something"));
    fs::create_directory(Path("20260101-000000-01"));
    fs::create_directory_symlink(outside, Path(std::string(".new-") + kOlder));
    AddSample(std::string(".old-") + kNewer);
    WriteFile(Path(std::string(".old-") + kNewer + "/notes.txt"), "mine\n");
    const std::vector<std::string> before = Names();

    const std::string id = Save("x");

    std::vector<std::string> wanted = before;
    wanted.push_back(id);
    std::sort(wanted.begin(), wanted.end());
    EXPECT_EQ(Names(), wanted);
    EXPECT_EQ(ReadFile(outside + "/agent.cfg"), "precious\n");
    EXPECT_EQ(ReadFile(Path("notes.txt")), "mine\n");
    EXPECT_EQ(ListedIds(), std::vector<std::string>{id});
}

TEST_F(History, ListsOnlyWholeEntries) {
    AddSample(kOlder);
    for (const char* file : {"reason", "agent.cfg", "alert.cfg"}) {
        SCOPED_TRACE(file);
        AddSample(kNewer);
        fs::remove(Path(std::string(kNewer) + "/" + file));
        EXPECT_EQ(ListedIds(), std::vector<std::string>{kOlder});
        fs::create_symlink(Path(std::string(kOlder) + "/" + file),
                           Path(std::string(kNewer) + "/" + file));
        EXPECT_EQ(ListedIds(), std::vector<std::string>{kOlder});
        fs::remove_all(Path(kNewer));
    }
    fs::create_directory_symlink(Path(kOlder), Path(kNewer));
    EXPECT_EQ(ListedIds(), std::vector<std::string>{kOlder});
}

TEST_F(History, KeepsNothingWhenAFileIsMissing) {
    fs::remove(KzmPaths::kAlertConfig);
    std::string error;
    EXPECT_FALSE(CHistory::Save("x", &error));
    EXPECT_EQ(CGolden::WithoutRoot(error),
              "ROOT/etc/opt/veltaro/ardenvale/alert.cfg: does not exist. Install the agent, or put "
              "the file back.");
    EXPECT_EQ(Names(), std::vector<std::string>());
}

TEST_F(History, KeepsAMissingFileAsAnEmptyOneBeforeARestore) {
    fs::remove(KzmPaths::kAlertConfig);
    std::string error;
    const auto now = CSettingsCopy::OfNow(CSettingsCopy::Missing::Allow, &error);
    ASSERT_TRUE(now) << error;
    const auto id = CHistory::SaveBeforeRestore(*now, kOlder, &error);
    ASSERT_TRUE(id) << error;
    EXPECT_EQ(ReadFile(Path(*id + "/agent.cfg")), CTestRoot::kAgentConfig);
    EXPECT_EQ(ReadFile(Path(*id + "/alert.cfg")), "");
    EXPECT_EQ(ReadFile(Path(*id + "/reason")),
              std::string("before restore of ") + kOlder + ", alert.cfg was missing\n");
}

TEST_F(History, RemembersARestoreUntilItIsForgottenOrOvertaken) {
    AddSample(kOlder);
    std::string error;
    EXPECT_EQ(CHistory::UnfinishedRestore(), "");
    ASSERT_TRUE(CHistory::RememberRestore(kOlder, &error)) << error;
    EXPECT_EQ(CHistory::UnfinishedRestore(), kOlder);
    CHistory::ForgetRestore();
    EXPECT_EQ(CHistory::UnfinishedRestore(), "");

    ASSERT_TRUE(CHistory::RememberRestore(kOlder, &error)) << error;
    Save("something else was done");
    EXPECT_EQ(CHistory::UnfinishedRestore(), "");

    ASSERT_TRUE(CHistory::RememberRestore(kOlder, &error)) << error;
    fs::remove_all(Path(kOlder));
    EXPECT_EQ(CHistory::UnfinishedRestore(), "");
}

TEST_F(History, GivesEverySaverAnEntryOfItsOwn) {
    constexpr int kSavers = 4;
    constexpr int kSaves = 4;
    for (int saver = 0; saver < kSavers; ++saver) {
        if (fork() == 0) {
            std::string error;
            for (int i = 0; i < kSaves; ++i) {
                if (!CHistory::Save("x", &error)) {
                    _exit(1);
                }
            }
            _exit(0);
        }
    }
    for (int saver = 0; saver < kSavers; ++saver) {
        int status = 0;
        wait(&status);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(ListedIds().size(), 16U);
    EXPECT_EQ(Names().size(), 16U);
}

struct DangerRow {
    const char* name;
    void (*prepare)(const std::string& folder);
    const char* problem;
};

class DangerTest : public testing::TestWithParam<DangerRow> {};

TEST_P(DangerTest, IsRefused) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give files away";
    }
    const CTestRoot root;
    AddSample(kOlder);
    GetParam().prepare(KzmPaths::kHistoryFolder);
    std::string error;
    EXPECT_FALSE(CHistory::List(&error));
    const std::string wanted =
        std::string("ROOT/var/opt/veltaro/kzm/logger/history: ") + GetParam().problem;
    EXPECT_EQ(CGolden::WithoutRoot(error), wanted);
    EXPECT_FALSE(CHistory::Save("x", &error));
    EXPECT_EQ(CGolden::WithoutRoot(error), wanted);
    EXPECT_FALSE(CHistory::RememberRestore(kOlder, &error));
    EXPECT_EQ(CHistory::UnfinishedRestore(), "");
}

const DangerRow kDangerRows[] = {
    {"GroupWrites", [](const std::string& folder) { chmod(folder.c_str(), 0770); },
     "can be written by others than its owner. Check what it holds, then run chmod 0700 on it."},
    {"OthersWrite", [](const std::string& folder) { chmod(folder.c_str(), 0702); },
     "can be written by others than its owner. Check what it holds, then run chmod 0700 on it."},
    {"OwnedByAnother",
     [](const std::string& folder) { EXPECT_EQ(chown(folder.c_str(), 1234, 0), 0); },
     "is owned by neither root nor the running user. Check what it holds, then run chown root on "
     "it."},
    {"Link",
     [](const std::string& folder) {
         fs::rename(folder, folder + "-elsewhere");
         fs::create_directory_symlink(folder + "-elsewhere", folder);
     },
     "is not a folder. Move it away: the history's folder belongs there."},
    {"File",
     [](const std::string& folder) {
         fs::remove_all(folder);
         WriteFile(folder, "x");
     },
     "is not a folder. Move it away: the history's folder belongs there."},
};
INSTANTIATE_TEST_SUITE_P(Rows, DangerTest, testing::ValuesIn(kDangerRows), RowName<DangerRow>);

} // namespace
