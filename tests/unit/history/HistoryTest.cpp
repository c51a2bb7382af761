// The history by itself: what is kept, what is listed, and what is left alone.

#include "history/History.h"

#include "history/HistoryFolder.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/CWithoutFilePrivileges.h"
#include "tests/support/TableTest.h"
#include "tests/system/loggerctl/SampleHistory.h"
#include "tests/unit/history/Answer.h"
#include "tests/unit/history/SettingsNow.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>

using namespace history;

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

std::string Save(const std::string& reason, const COrigin& origin = {}) {
    return Must(history::Save(Now(), reason, origin));
}

std::vector<std::string> ListedIds() {
    std::vector<std::string> ids;
    for (const CEntry& entry : Must(history::List())) {
        ids.push_back(entry.m_id);
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
    EXPECT_EQ(ModeOf(Path(id + "/reason")), 0600U);
    const struct stat copy = StatusOf(Path(id + "/agent.cfg"));
    EXPECT_EQ(copy.st_uid, 12U);
    EXPECT_EQ(copy.st_gid, 34U);
    EXPECT_EQ(copy.st_mode & 07777, 0640U);
    EXPECT_EQ(copy.st_mtim.tv_sec, 2000);
    EXPECT_EQ(copy.st_mtim.tv_nsec, 7);
}

TEST_F(History, GivesBackWhatItKept) {
    const std::string id = Save("why", {"alice", "bob", "192.0.2.7"});
    const CSettingsCopy copy = Must(history::Load(id));
    EXPECT_EQ(copy.DifferentNames(Now()), std::vector<std::string>());
    EXPECT_EQ(copy.m_files[0].m_text, CTestRoot::kAgentConfig);
    EXPECT_EQ(copy.m_files[1].m_text, CTestRoot::kAlertConfig);
    const std::vector<CEntry> entries = Must(history::List());
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].m_id, id);
    EXPECT_EQ(entries[0].m_time, history::TimeOf(id));
    EXPECT_EQ(entries[0].m_reason, "why");
    EXPECT_EQ(entries[0].m_origin.m_user, "alice");
    EXPECT_EQ(entries[0].m_origin.m_sudoUser, "bob");
    EXPECT_EQ(entries[0].m_origin.m_from, "192.0.2.7");
    EXPECT_EQ(entries[0].m_missing, std::vector<std::string>());
}

TEST_F(History, RefusesToLoadWhatItDoesNotKeep) {
    AddSample(kNewer);
    fs::remove(Path(std::string(kNewer) + "/agent.cfg"));
    fs::create_directory_symlink(KzmPaths::kHistoryFolder, Path("20260304-050607-001"));
    for (const std::string id : {"", kOlder, kNewer, "20260304-050607-001", "../history", "x"}) {
        EXPECT_EQ(Problem(history::Load(id)),
                  Path(id) + ": cannot be read (No such file or directory).");
    }
    fs::remove_all(KzmPaths::kHistoryFolder);
    EXPECT_EQ(Problem(history::Load(kOlder)),
              Path(kOlder) + ": cannot be read (No such file or directory).");
}

TEST_F(History, SaysWhichFileOfAnEntryCannotBeRead) {
    const std::string id = Save("x");
    chmod(Path(id + "/alert.cfg").c_str(), 0);
    const CWithoutFilePrivileges ordinary;
    EXPECT_EQ(Problem(history::Load(id)),
              Path(id) + "/alert.cfg: cannot be read (Permission denied).");
}

// ---- What stands behind the reason ----

TEST_F(History, LeavesOutWhatIsNotKnownOfTheOrigin) {
    EXPECT_EQ(ReadFile(Path(Save("x") + "/reason")), "x\n");
    EXPECT_EQ(ReadFile(Path(Save("x", {"alice", "", "::1"}) + "/reason")),
              "x\nuser=alice\nfrom=::1\n");
}

TEST_F(History, KeepsEveryTextOnALineOfItsOwn) {
    const COrigin hostile{"a\nmissing=agent.cfg\rb", "\x1B[2J\x7F", std::string("\0=", 2)};
    Save("why\nuser=mallory\tx", hostile);
    const CEntry entry = Must(history::List()).at(0);
    EXPECT_EQ(entry.m_reason, "why user=mallory x");
    EXPECT_EQ(entry.m_origin.m_user, "a missing=agent.cfg b");
    EXPECT_EQ(entry.m_origin.m_sudoUser, " [2J ");
    EXPECT_EQ(entry.m_origin.m_from, " =");
    EXPECT_EQ(entry.m_missing, std::vector<std::string>());
}

TEST_F(History, ReadsWhatItKnowsOfAReasonFile) {
    AddSample(kOlder);
    WriteFile(Path(std::string(kOlder) + "/reason"),
              "\n\nuser\n=\nfrom=a=b\nnew=1\nmissing=notes.txt\nsudo=last");
    const CEntry entry = Must(history::List()).at(0);
    EXPECT_EQ(entry.m_reason, "");
    EXPECT_EQ(entry.m_origin.m_user, "");
    EXPECT_EQ(entry.m_origin.m_sudoUser, "last");
    EXPECT_EQ(entry.m_origin.m_from, "a=b");
    EXPECT_EQ(entry.m_missing, std::vector<std::string>());
}

struct OldFormatRow {
    const char* name;
    const char* reason;
    const char* agentConfig;
    const char* alertConfig;
    std::vector<std::string> missing;
};

class OldFormatTest : public testing::TestWithParam<OldFormatRow> {};

TEST_P(OldFormatTest, SaysWhichFilesWereMissing) {
    const CTestRoot root;
    Add(kOlder, GetParam().reason, GetParam().agentConfig, GetParam().alertConfig);
    const CEntry entry = Must(history::List()).at(0);
    EXPECT_EQ(entry.m_reason, GetParam().reason);
    EXPECT_EQ(entry.m_missing, GetParam().missing);
    const CSettingsCopy copy = Must(history::Load(kOlder));
    EXPECT_EQ(copy.MissingNames(), GetParam().missing);
    EXPECT_EQ(copy.m_files[0].m_text, GetParam().agentConfig);
    EXPECT_EQ(copy.m_files[1].m_text, GetParam().alertConfig);
}

const OldFormatRow kOldFormatRows[] = {
    {"None", "why", "", "", {}},
    {"Agent", "why, agent.cfg was missing", "", "", {"agent.cfg"}},
    {"Alert", "why, alert.cfg was missing", "", "", {"alert.cfg"}},
    {"Both",
     "why, agent.cfg was missing, alert.cfg was missing",
     "",
     "",
     {"agent.cfg", "alert.cfg"}},
    {"NotEmpty", "why, agent.cfg was missing, alert.cfg was missing", "x", "", {"alert.cfg"}},
    {"NotAtTheEnd", "why, agent.cfg was missing, and why", "", "", {}},
    {"Nothing", "", "", "", {}},
};
INSTANTIATE_TEST_SUITE_P(Rows, OldFormatTest, testing::ValuesIn(kOldFormatRows),
                         RowName<OldFormatRow>);

TEST_F(History, MakesNoFileForAMissingOne) {
    fs::remove(KzmPaths::kAlertConfig);
    const std::string id = Save("x");
    EXPECT_FALSE(fs::exists(Path(id + "/alert.cfg")));
    EXPECT_EQ(ReadFile(Path(id + "/reason")), "x\nmissing=alert.cfg\n");
    EXPECT_EQ(Must(history::List()).at(0).m_missing, std::vector<std::string>{"alert.cfg"});
    const CSettingsCopy copy = Must(history::Load(id));
    EXPECT_EQ(copy.MissingNames(), std::vector<std::string>{"alert.cfg"});
    EXPECT_EQ(copy.m_files[0].m_text, CTestRoot::kAgentConfig);
    EXPECT_EQ(copy.m_files[1].m_text, "");
}

TEST_F(History, TellsAnEmptyFileFromAMissingOne) {
    WriteFile(KzmPaths::kAlertConfig, "");
    const std::string id = Save("x");
    EXPECT_EQ(Must(history::Load(id)).MissingNames(), std::vector<std::string>());
}

// ---- What else is in the folder ----

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

TEST_F(History, GoesOnBehindAnEntryOfTheFuture) {
    AddSample("20990101-000000-041");
    EXPECT_EQ(Save("x"), "20990101-000000-042");
}

// As when the names in the folder cannot be read, and one of them is taken for a new entry's.
TEST_F(History, LeavesTheEntryThatANewOneMeets) {
    AddSample(kOlder);
    const CDescriptor folder = Must(OpenHistory(Absent::Allow));
    EXPECT_NE(AddEntry(folder.Get(), kOlder, [](int) { return 0; }), 0);
    EXPECT_NE(AddEntry(folder.Get(), kOlder, [](int) { return EMFILE; }), 0);
    EXPECT_EQ(Names(), std::vector<std::string>{kOlder});
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
    EXPECT_GT(id, kNewer); // it goes by the clock, and not by a foreign name
}

TEST_F(History, KnowsNoEntryByAnotherName) {
    AddSample("notes");
    AddSample("../notes");
    EXPECT_EQ(ListedIds(), std::vector<std::string>());
    EXPECT_FALSE(history::Load("notes"));
    EXPECT_FALSE(history::Load("../notes"));
    EXPECT_FALSE(history::BeginRestore("notes", Now(), {}));
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

TEST_F(History, IsEmptyBeforeThereIsAFolder) {
    EXPECT_EQ(ListedIds(), std::vector<std::string>());
    EXPECT_FALSE(fs::exists(KzmPaths::kHistoryFolder));
}

TEST_F(History, KeepsNothingWhereItCannot) {
    AddSample(kOlder);
    chmod(KzmPaths::kHistoryFolder, 0500);
    {
        const CWithoutFilePrivileges ordinary;
        const auto answer = history::Save(Now(), "x", {});
        EXPECT_NE(Problem(answer).find(": cannot be made (Permission denied)."), std::string::npos)
            << Problem(answer);
        EXPECT_EQ(answer.error().m_number, EACCES);
    }
    EXPECT_EQ(Names(), std::vector<std::string>{kOlder});
}

TEST_F(History, LeavesNothingOfAnEntryThatCannotBeFilled) {
    CSettingsCopy now = Now();
    now.m_files[1].m_modified.tv_nsec = 1'000'000'000; // no such time
    EXPECT_FALSE(history::Save(now, "x", {}));
    EXPECT_EQ(Names(), std::vector<std::string>());
}

TEST_F(History, GivesEverySaverAnEntryOfItsOwn) {
    constexpr int kSavers = 4;
    constexpr int kSaves = 4;
    std::vector<pid_t> savers;
    for (int saver = 0; saver < kSavers; ++saver) {
        savers.push_back(fork());
        if (savers.back() == 0) {
            for (int i = 0; i < kSaves; ++i) {
                if (!history::Save(Now(), "x", {})) {
                    _exit(1);
                }
            }
            _exit(0);
        }
    }
    for (const pid_t saver : savers) {
        int status = 0;
        EXPECT_EQ(waitpid(saver, &status, 0), saver);
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
    const std::string wanted = std::string(KzmPaths::kHistoryFolder) + ": " + GetParam().problem;
    EXPECT_EQ(Problem(history::List()), wanted);
    EXPECT_EQ(Problem(history::Load(kOlder)), wanted);
    EXPECT_EQ(Problem(history::Save(Now(), "x", {})), wanted);
    EXPECT_EQ(Problem(history::BeginRestore(kOlder, Now(), {})), wanted);
    EXPECT_FALSE(history::PendingRestore());
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

TEST_F(History, TrustsAFolderOfRootsWhoeverRuns) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    ASSERT_EQ(seteuid(1234), 0);
    const Expected<CDescriptor> folder = OpenSafeFolder("/proc", Absent::Allow, 0755);
    ASSERT_EQ(seteuid(0), 0);
    EXPECT_TRUE(folder) << folder.error().m_text;
}

TEST_F(History, IsOpenForOneAtATime) {
    const CDescriptor held = Must(OpenHistory(Absent::Make));
    const CDescriptor other(open(KzmPaths::kHistoryFolder, O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(flock(other.Get(), LOCK_SH | LOCK_NB), -1);
}

TEST_F(History, LeavesNothingOpen) {
    const auto countOpen = [] {
        const fs::directory_iterator descriptors("/proc/self/fd");
        return std::distance(begin(descriptors), end(descriptors));
    };
    const auto before = countOpen();
    const std::string id = Save("x");
    EXPECT_EQ(ListedIds().size(), 1U);
    Must(history::Load(id));
    EXPECT_FALSE(history::Load(kOlder));
    Must(history::BeginRestore(id, Now(), {}));
    EXPECT_FALSE(history::BeginRestore(kOlder, Now(), {}));
    history::EndRestore();
    EXPECT_EQ(countOpen(), before);
}

} // namespace
