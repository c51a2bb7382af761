#include "history/CFileReplacement.h"

#include "tests/support/CTestRoot.h"
#include "tests/system/loggerctl/CGolden.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

CFileImage Image(const std::string& text) {
    CFileImage image;
    image.m_sText = text;
    image.m_owner = geteuid();
    image.m_group = getegid();
    image.m_modified.tv_nsec = UTIME_NOW;
    return image;
}

class FileReplacement : public testing::Test {
protected:
    FileReplacement() {
        fs::create_directory(m_sFolder);
        WriteFile(m_sFile, "old\n");
    }

    // The names in the folder, in ascending order.
    [[nodiscard]] std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const fs::directory_entry& entry : fs::directory_iterator(m_sFolder)) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    const CTestRoot m_root;
    const std::string m_sFolder = CTestRoot::Path("/etc/folder");
    const std::string m_sFile = m_sFolder + "/file";
    std::string m_sError;
};

TEST_F(FileReplacement, LeavesTheOldFileInPlaceUntilItIsCommitted) {
    CFileReplacement replacement(m_sFile);
    ASSERT_TRUE(replacement.Prepare(Image("new\n"), &m_sError)) << m_sError;
    EXPECT_EQ(ReadFile(m_sFile), "old\n");
    EXPECT_EQ(ReadFile(m_sFolder + "/.file.loggerctl-new"), "new\n");
    ASSERT_TRUE(replacement.Commit(&m_sError)) << m_sError;
    EXPECT_EQ(ReadFile(m_sFile), "new\n");
    EXPECT_EQ(Names(), std::vector<std::string>{"file"});
}

TEST_F(FileReplacement, GivesTheNewFileItsOwnerAndMode) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give files away";
    }
    CFileImage image = Image("new\n");
    image.m_owner = 12;
    image.m_group = 34;
    image.m_mode = 02640;
    CFileReplacement replacement(m_sFile);
    ASSERT_TRUE(replacement.Prepare(image, &m_sError)) << m_sError;
    ASSERT_TRUE(replacement.Commit(&m_sError)) << m_sError;
    struct stat status {};
    ASSERT_EQ(stat(m_sFile.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 12U);
    EXPECT_EQ(status.st_gid, 34U);
    EXPECT_EQ(status.st_mode & 07777, 02640U);
}

TEST_F(FileReplacement, LeavesNothingBehindWhenItIsNotCommitted) {
    {
        CFileReplacement replacement(m_sFile);
        ASSERT_TRUE(replacement.Prepare(Image("new\n"), &m_sError)) << m_sError;
    }
    EXPECT_EQ(ReadFile(m_sFile), "old\n");
    EXPECT_EQ(Names(), std::vector<std::string>{"file"});
}

TEST_F(FileReplacement, OverwritesWhatAnInterruptedOneLeft) {
    const std::string precious = CTestRoot::Path("/precious");
    WriteFile(precious, "precious\n");
    fs::create_symlink(precious, m_sFolder + "/.file.loggerctl-new");
    CFileReplacement replacement(m_sFile);
    ASSERT_TRUE(replacement.Prepare(Image("new\n"), &m_sError)) << m_sError;
    ASSERT_TRUE(replacement.Commit(&m_sError)) << m_sError;
    EXPECT_EQ(ReadFile(m_sFile), "new\n");
    EXPECT_FALSE(fs::is_symlink(m_sFile));
    EXPECT_EQ(ReadFile(precious), "precious\n");
}

TEST_F(FileReplacement, MakesAFileThatIsMissing) {
    fs::remove(m_sFile);
    CFileReplacement replacement(m_sFile);
    ASSERT_TRUE(replacement.Prepare(Image("new\n"), &m_sError)) << m_sError;
    ASSERT_TRUE(replacement.Commit(&m_sError)) << m_sError;
    EXPECT_EQ(ReadFile(m_sFile), "new\n");
}

TEST_F(FileReplacement, ReplacesTheFileThatALinkPointsTo) {
    const std::string link = CTestRoot::Path("/etc/link");
    fs::create_symlink("folder/file", link);
    CFileReplacement replacement(link);
    ASSERT_TRUE(replacement.Prepare(Image("new\n"), &m_sError)) << m_sError;
    ASSERT_TRUE(replacement.Commit(&m_sError)) << m_sError;
    EXPECT_EQ(fs::read_symlink(link), "folder/file");
    EXPECT_FALSE(fs::is_symlink(m_sFile));
    EXPECT_EQ(ReadFile(m_sFile), "new\n");
}

TEST_F(FileReplacement, RefusesALinkToNothing) {
    const std::string link = CTestRoot::Path("/etc/link");
    fs::create_symlink("folder/nothing", link);
    CFileReplacement replacement(link);
    EXPECT_FALSE(replacement.Prepare(Image("new\n"), &m_sError));
    EXPECT_EQ(CGolden::WithoutRoot(m_sError),
              "ROOT/etc/link: cannot be replaced (No such file or directory).");
    EXPECT_TRUE(fs::is_symlink(link));
}

TEST_F(FileReplacement, SaysWhyItCannotBe) {
    fs::create_directory(m_sFolder + "/.file.loggerctl-new");
    CFileReplacement replacement(m_sFile);
    EXPECT_FALSE(replacement.Prepare(Image("new\n"), &m_sError));
    EXPECT_EQ(CGolden::WithoutRoot(m_sError),
              "ROOT/etc/folder/file: cannot be replaced (Is a directory).");
    EXPECT_EQ(ReadFile(m_sFile), "old\n");
}

} // namespace
