// Restores that have begun: what is kept of the state before, and what is remembered of them.

#include "history/History.h"

#include "tests/support/CTestRoot.h"
#include "tests/support/CWithoutFilePrivileges.h"
#include "tests/system/loggerctl/SampleHistory.h"
#include "tests/unit/history/Answer.h"
#include "tests/unit/history/SettingsNow.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

using namespace history;

namespace fs = std::filesystem;
using namespace SampleHistory;

namespace {

std::optional<CPendingRestore> Pending() {
    return Must(history::PendingRestore());
}

CPendingRestore Begin(const std::string& id) {
    return Must(BeginRestore(id, Now(), {"alice", "", ""}));
}

std::string Remembered() {
    return ReadFile(Path(".restoring"));
}

class PendingRestores : public testing::Test {
protected:
    PendingRestores() {
        Add(kOlder, "x", SampleHistory::kAgentConfig, SampleHistory::kAlertConfig);
        Add(kNewer, "y", "newer agent\n", "newer alert\n");
    }

    // What a restore does to one file.
    static void Replace(std::size_t index, const std::string& id) {
        const std::string copy = Path(id + "/" + CSettingsCopy::Name(index));
        fs::copy_file(copy, CSettingsCopy::kPaths[index], fs::copy_options::overwrite_existing);
    }

    const CTestRoot m_root;
};

TEST_F(PendingRestores, KeepTheStateBefore) {
    const CPendingRestore pending = Begin(kOlder);
    EXPECT_EQ(pending.m_id, kOlder);
    EXPECT_TRUE(pending.m_keptAnew);
    const history::CEntry entry = Must(history::List()).at(0);
    EXPECT_EQ(entry.m_id, pending.m_keptId);
    EXPECT_EQ(entry.m_reason, std::string("before restore of ") + kOlder);
    EXPECT_EQ(entry.m_origin.m_user, "alice");
    EXPECT_EQ(Must(history::Load(pending.m_keptId)).DifferentNames(Now()),
              std::vector<std::string>());
    EXPECT_EQ(Remembered(), kOlder + ("\n" + pending.m_keptId) + "\n");
}

TEST_F(PendingRestores, SayWhichFileWasMissing) {
    fs::remove(KzmPaths::kAgentConfig);
    const std::string kept = Begin(kOlder).m_keptId;
    EXPECT_EQ(ReadFile(Path(kept + "/reason")),
              std::string("before restore of ") + kOlder +
                  ", agent.cfg was missing\nuser=alice\nmissing=agent.cfg\n");
    EXPECT_FALSE(fs::exists(Path(kept + "/agent.cfg")));
}

TEST_F(PendingRestores, AreRememberedUntilTheyEnd) {
    EXPECT_FALSE(Pending());
    const CPendingRestore begun = Begin(kOlder);
    const auto pending = Pending();
    ASSERT_TRUE(pending);
    EXPECT_EQ(pending->m_id, kOlder);
    EXPECT_EQ(pending->m_keptId, begun.m_keptId);
    EXPECT_FALSE(pending->m_keptAnew);
    WriteFile(Path(".new-restoring"), "half");
    Must(history::EndRestore());
    EXPECT_FALSE(Pending());
    EXPECT_EQ(Names(), (std::vector<std::string>{kOlder, kNewer, begun.m_keptId}));
}

TEST_F(PendingRestores, AreForgottenWhenSomethingElseIsDone) {
    Begin(kOlder);
    Must(history::Save(Now(), "x", {}));
    EXPECT_FALSE(Pending());
    EXPECT_FALSE(fs::exists(Path(".restoring")));
}

TEST_F(PendingRestores, StayWhenTheOtherThingCannotBeDone) {
    Begin(kOlder);
    CSettingsCopy now = Now();
    now.m_files[0].m_modified.tv_nsec = 1'000'000'000; // no such time
    EXPECT_FALSE(history::Save(now, "x", {}));
    EXPECT_TRUE(Pending());
}

TEST_F(PendingRestores, AreGoneWithTheirEntry) {
    const std::string kept = Begin(kOlder).m_keptId;
    fs::remove_all(Path(kept));
    ASSERT_TRUE(Pending());
    EXPECT_EQ(Pending()->m_keptId, "");
    fs::remove_all(Path(kOlder));
    EXPECT_FALSE(Pending());
}

TEST_F(PendingRestores, OfTheOlderFormatHaveNoKeptCopy) {
    WriteFile(Path(".restoring"), std::string(kOlder) + "\n");
    ASSERT_TRUE(Pending());
    EXPECT_EQ(Pending()->m_id, kOlder);
    EXPECT_EQ(Pending()->m_keptId, "");
    EXPECT_TRUE(Begin(kOlder).m_keptAnew);
}

TEST_F(PendingRestores, CannotBeAnythingElse) {
    for (const std::string text : {"", "\n", "x\n", "../history\n"}) {
        WriteFile(Path(".restoring"), text);
        EXPECT_FALSE(Pending()) << text;
    }
    fs::remove(Path(".restoring"));
    WriteFile(CTestRoot::Path("/elsewhere"), std::string(kOlder) + "\n");
    fs::create_symlink(CTestRoot::Path("/elsewhere"), Path(".restoring"));
    EXPECT_FALSE(Pending());
}

TEST_F(PendingRestores, AreRefusedForWhatIsNotKept) {
    for (const std::string id : {"", "20260304-050607-001", "../history"}) {
        EXPECT_EQ(Problem(BeginRestore(id, Now(), {})),
                  Path(id) + ": cannot be read (No such file or directory).");
    }
    EXPECT_EQ(Names(), (std::vector<std::string>{kOlder, kNewer}));
    fs::remove_all(KzmPaths::kHistoryFolder);
    EXPECT_FALSE(BeginRestore(kOlder, Now(), {}));
    EXPECT_FALSE(fs::exists(KzmPaths::kHistoryFolder));
}

TEST_F(PendingRestores, SpareTheEntryThatIsRestored) {
    for (int i = 2; i < 20; ++i) {
        Must(history::Save(Now(), "x", {}));
    }
    ASSERT_EQ(Names().front(), kOlder);
    Begin(kOlder);
    EXPECT_EQ(Must(history::List()).back().m_id, kOlder);
    EXPECT_EQ(Must(history::List()).size(), 21U);
    Begin(kNewer);
    EXPECT_EQ(Must(history::List()).back().m_id, kNewer);
    EXPECT_EQ(Must(history::List()).size(), 21U);
}

// ---- A second try ----

TEST_F(PendingRestores, AreTakenUpWithTheStateBeforeTheFirstTry) {
    const CPendingRestore first = Begin(kOlder);
    const std::vector<std::string> names = Names();
    for (std::size_t replaced = 0; replaced <= 2; ++replaced) {
        SCOPED_TRACE(replaced);
        if (replaced > 0) {
            Replace(replaced - 1, kOlder);
        }
        const CPendingRestore again = Begin(kOlder);
        EXPECT_EQ(again.m_keptId, first.m_keptId);
        EXPECT_FALSE(again.m_keptAnew);
        EXPECT_EQ(Names(), names);
    }
    const CSettingsCopy kept = Must(history::Load(first.m_keptId));
    EXPECT_EQ(kept.m_files[0].m_text, CTestRoot::kAgentConfig);
    EXPECT_EQ(kept.m_files[1].m_text, CTestRoot::kAlertConfig);
}

TEST_F(PendingRestores, AreTakenUpWhereAFileWasMissing) {
    fs::remove(KzmPaths::kAgentConfig);
    const CPendingRestore first = Begin(kOlder);
    EXPECT_EQ(Begin(kOlder).m_keptId, first.m_keptId);
    Replace(0, kOlder);
    EXPECT_EQ(Begin(kOlder).m_keptId, first.m_keptId);
    WriteFile(KzmPaths::kAgentConfig, "");
    EXPECT_NE(Begin(kOlder).m_keptId, first.m_keptId);
}

TEST_F(PendingRestores, KeepWhatSomebodyElseChangedMeanwhile) {
    const CPendingRestore first = Begin(kOlder);
    Replace(0, kOlder);
    WriteFile(KzmPaths::kAlertConfig, "mine\n");
    const CPendingRestore second = Begin(kOlder);
    EXPECT_TRUE(second.m_keptAnew);
    EXPECT_GT(second.m_keptId, first.m_keptId);
    EXPECT_EQ(Must(history::Load(second.m_keptId)).m_files[1].m_text, "mine\n");
    EXPECT_EQ(Pending()->m_keptId, second.m_keptId);

    chmod(KzmPaths::kAlertConfig, 0600);
    EXPECT_GT(Begin(kOlder).m_keptId, second.m_keptId);
}

TEST_F(PendingRestores, OfAnotherEntryAreNotTakenUp) {
    const CPendingRestore first = Begin(kOlder);
    const CPendingRestore second = Begin(kNewer);
    EXPECT_TRUE(second.m_keptAnew);
    EXPECT_GT(second.m_keptId, first.m_keptId);
    EXPECT_EQ(Remembered(), kNewer + ("\n" + second.m_keptId) + "\n");
}

TEST_F(PendingRestores, AreNotTakenUpWithoutTheirKeptCopy) {
    const std::string kept = Begin(kOlder).m_keptId;
    fs::remove_all(Path(kept));
    EXPECT_TRUE(Begin(kOlder).m_keptAnew);
}

// ---- One that failed before anything was replaced ----

TEST_F(PendingRestores, LoseACopyThatSaysNothingNew) {
    const CPendingRestore pending = Begin(kOlder);
    history::DiscardKept(pending);
    EXPECT_EQ(Names(), (std::vector<std::string>{".restoring", kOlder, kNewer}));
    ASSERT_TRUE(Pending());
    EXPECT_EQ(Pending()->m_id, kOlder);
    EXPECT_EQ(Pending()->m_keptId, "");
    EXPECT_TRUE(Begin(kOlder).m_keptAnew);
}

TEST_F(PendingRestores, KeepTheCopyOfAnEarlierTry) {
    const CPendingRestore first = Begin(kOlder);
    Replace(0, kOlder);
    history::DiscardKept(Begin(kOlder));
    ASSERT_TRUE(Pending());
    EXPECT_EQ(Pending()->m_keptId, first.m_keptId);
    Must(history::Load(first.m_keptId));
}

TEST_F(PendingRestores, KeepTheirCopyWhenItCannotBeDiscarded) {
    const CPendingRestore pending = Begin(kOlder);
    fs::create_directory(Path(".new-restoring"));
    history::DiscardKept(pending);
    ASSERT_TRUE(Pending());
    EXPECT_EQ(Pending()->m_keptId, pending.m_keptId);
}

// ---- What cannot be written ----

TEST_F(PendingRestores, LeaveNothingWhenTheyCannotBeRemembered) {
    fs::create_directory(Path(".new-restoring"));
    EXPECT_EQ(Problem(BeginRestore(kOlder, Now(), {})),
              Path(".restoring") + ": cannot be written (Is a directory).");
    EXPECT_EQ(Names(), (std::vector<std::string>{".new-restoring", kOlder, kNewer}));
    EXPECT_FALSE(Pending());
}

TEST_F(PendingRestores, LeaveTheEarlierOneWhenTheyCannotBeRemembered) {
    const CPendingRestore first = Begin(kOlder);
    const std::vector<std::string> names = Names();
    fs::create_directory(Path(".new-restoring"));
    EXPECT_FALSE(BeginRestore(kNewer, Now(), {}));
    fs::remove(Path(".new-restoring"));
    EXPECT_EQ(Names(), names);
    EXPECT_EQ(Pending()->m_id, kOlder);
    EXPECT_EQ(Pending()->m_keptId, first.m_keptId);
}

TEST_F(PendingRestores, RememberNothingWhenTheStateCannotBeKept) {
    CSettingsCopy now = Now();
    now.m_files[0].m_modified.tv_nsec = 1'000'000'000; // no such time
    EXPECT_FALSE(BeginRestore(kOlder, now, {}));
    EXPECT_EQ(Names(), (std::vector<std::string>{kOlder, kNewer}));
}

} // namespace
