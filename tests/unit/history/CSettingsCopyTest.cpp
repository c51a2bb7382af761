#include "history/CSettingsCopy.h"

#include "tests/support/CTestRoot.h"
#include "tests/support/CWithoutFilePrivileges.h"
#include "tests/unit/history/Answer.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

using namespace history;

namespace fs = std::filesystem;

namespace {

using Missing = CSettingsCopy::Missing;
using FileNames = std::vector<std::string>;

class SettingsCopy : public testing::Test {
protected:
    const CTestRoot m_root;
};

TEST_F(SettingsCopy, HoldsBothFiles) {
    chmod(KzmPaths::kAlertConfig, 0604);
    const CSettingsCopy copy = Must(CSettingsCopy::OfNow(Missing::Refuse));
    EXPECT_EQ(copy.m_files[0].m_text, CTestRoot::kAgentConfig);
    EXPECT_EQ(copy.m_files[1].m_text, CTestRoot::kAlertConfig);
    EXPECT_EQ(copy.m_files[1].m_mode, 0604U);
    EXPECT_EQ(copy.MissingNames(), FileNames());
}

TEST_F(SettingsCopy, FollowsALink) {
    const std::string target = CTestRoot::Path("/etc/real.cfg");
    fs::rename(KzmPaths::kAgentConfig, target);
    fs::create_symlink(target, KzmPaths::kAgentConfig);
    EXPECT_EQ(Must(CSettingsCopy::OfNow(Missing::Refuse)).m_files[0].m_text,
              CTestRoot::kAgentConfig);
}

TEST_F(SettingsCopy, AllowsAMissingFileWhenItMay) {
    fs::remove(KzmPaths::kAlertConfig);
    const auto refused = CSettingsCopy::OfNow(Missing::Refuse);
    EXPECT_EQ(Problem(refused), std::string(KzmPaths::kAlertConfig) +
                                    ": does not exist. Install the agent, or put the file back.");
    EXPECT_EQ(refused.error().m_number, ENOENT);

    const CSettingsCopy copy = Must(CSettingsCopy::OfNow(Missing::Allow));
    EXPECT_EQ(copy.MissingNames(), FileNames{"alert.cfg"});
    EXPECT_EQ(copy.m_files[1].m_text, "");
}

TEST_F(SettingsCopy, RefusesWhatIsNoReadableFile) {
    ReplaceWithFolder(KzmPaths::kAgentConfig);
    EXPECT_EQ(Problem(CSettingsCopy::OfNow(Missing::Allow)),
              std::string(KzmPaths::kAgentConfig) +
                  ": is a directory. Put the agent's file in its place.");

    fs::remove(KzmPaths::kAgentConfig);
    ASSERT_EQ(mkfifo(KzmPaths::kAgentConfig, 0644), 0);
    EXPECT_EQ(Problem(CSettingsCopy::OfNow(Missing::Allow)),
              std::string(KzmPaths::kAgentConfig) + ": cannot be read (Invalid argument).");

    fs::remove(KzmPaths::kAgentConfig);
    WriteFile(KzmPaths::kAgentConfig, "x");
    chmod(KzmPaths::kAgentConfig, 0);
    const CWithoutFilePrivileges ordinary;
    EXPECT_EQ(Problem(CSettingsCopy::OfNow(Missing::Allow)),
              std::string(KzmPaths::kAgentConfig) + ": cannot be read (Permission denied).");
}

TEST_F(SettingsCopy, TellsWhatDiffers) {
    const CSettingsCopy before = Must(CSettingsCopy::OfNow(Missing::Allow));
    EXPECT_EQ(before.DifferentNames(before), FileNames());
    EXPECT_TRUE(before.HasSameTexts(before));

    CSettingsCopy after = before;
    after.m_files[0].m_mode ^= 0007;
    after.m_files[1].m_modified.tv_sec += 1;
    EXPECT_EQ(before.DifferentNames(after), FileNames{"agent.cfg"});
    EXPECT_TRUE(before.HasSameTexts(after));

    after.m_files[1].m_text.back() = ' ';
    EXPECT_FALSE(before.HasSameTexts(after));

    after.m_files[1].m_text = before.m_files[1].m_text + '\0';
    EXPECT_EQ(before.DifferentNames(after), (FileNames{"agent.cfg", "alert.cfg"}));
    EXPECT_FALSE(before.HasSameTexts(after));
}

TEST_F(SettingsCopy, TellsAMissingFileFromAnEmptyOne) {
    CSettingsCopy empty = Must(CSettingsCopy::OfNow(Missing::Allow));
    empty.m_files[0].m_text.clear();
    CSettingsCopy missing = empty;
    missing.m_files[0] = CFileImage();
    missing.m_files[0].m_missing = true;
    EXPECT_EQ(empty.DifferentNames(missing), FileNames{"agent.cfg"});
    EXPECT_FALSE(empty.HasSameTexts(missing));

    CSettingsCopy alsoMissing = missing;
    alsoMissing.m_files[0].m_owner = 12;
    EXPECT_EQ(missing.DifferentNames(alsoMissing), FileNames());
    EXPECT_TRUE(missing.HasSameTexts(alsoMissing));
}

} // namespace
