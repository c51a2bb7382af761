#include "history/CFileReplacement.h"

#include "tests/support/CTestRoot.h"
#include "tests/support/CWithoutFilePrivileges.h"
#include "tests/support/TableTest.h"
#include "tests/unit/history/Answer.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <linux/fs.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

using namespace history;

namespace fs = std::filesystem;

namespace {

CFileImage ImageOf(const std::string& text) {
    CFileImage image;
    image.m_text = text;
    image.m_owner = geteuid();
    image.m_group = getegid();
    image.m_modified.tv_nsec = UTIME_NOW;
    return image;
}

class FileReplacement : public testing::Test {
protected:
    FileReplacement() {
        fs::create_directory(m_folder);
        WriteFile(m_file, "old\n");
    }

    // The names in the folder, in ascending order.
    [[nodiscard]] std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const fs::directory_entry& entry : fs::directory_iterator(m_folder)) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    const CTestRoot m_root;
    const std::string m_folder = CTestRoot::Path("/etc/folder");
    const std::string m_file = m_folder + "/file";
};

TEST_F(FileReplacement, LeavesTheOldFileInPlaceUntilItIsCommitted) {
    CFileReplacement replacement(m_file);
    Must(replacement.Prepare(ImageOf("new\n")));
    EXPECT_EQ(ReadFile(m_file), "old\n");
    EXPECT_EQ(ReadFile(m_folder + "/.file.loggerctl-new"), "new\n");
    Must(replacement.Commit());
    EXPECT_EQ(ReadFile(m_file), "new\n");
    EXPECT_EQ(Names(), std::vector<std::string>{"file"});
}

TEST_F(FileReplacement, GivesTheNewFileItsOwnerAndMode) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give files away";
    }
    CFileImage image = ImageOf("new\n");
    image.m_owner = 12;
    image.m_group = 34;
    image.m_mode = 02640;
    CFileReplacement replacement(m_file);
    Must(replacement.Prepare(image));
    Must(replacement.Commit());
    struct stat status {};
    ASSERT_EQ(stat(m_file.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 12U);
    EXPECT_EQ(status.st_gid, 34U);
    EXPECT_EQ(status.st_mode & 07777, 02640U);
}

TEST_F(FileReplacement, LeavesNothingBehindWhenItIsNotCommitted) {
    {
        CFileReplacement replacement(m_file);
        Must(replacement.Prepare(ImageOf("new\n")));
    }
    EXPECT_EQ(ReadFile(m_file), "old\n");
    EXPECT_EQ(Names(), std::vector<std::string>{"file"});
}

TEST_F(FileReplacement, OverwritesWhatAnInterruptedOneLeft) {
    const std::string precious = CTestRoot::Path("/precious");
    WriteFile(precious, "precious\n");
    fs::create_symlink(precious, m_folder + "/.file.loggerctl-new");
    CFileReplacement replacement(m_file);
    Must(replacement.Prepare(ImageOf("new\n")));
    Must(replacement.Commit());
    EXPECT_EQ(ReadFile(m_file), "new\n");
    EXPECT_FALSE(fs::is_symlink(m_file));
    EXPECT_EQ(ReadFile(precious), "precious\n");
}

TEST_F(FileReplacement, MakesAFileThatIsMissing) {
    fs::remove(m_file);
    CFileReplacement replacement(m_file);
    Must(replacement.Prepare(ImageOf("new\n")));
    Must(replacement.Commit());
    EXPECT_EQ(ReadFile(m_file), "new\n");
}

TEST_F(FileReplacement, ReplacesTheFileThatALinkPointsTo) {
    const std::string link = CTestRoot::Path("/etc/link");
    fs::create_symlink("folder/file", link);
    CFileReplacement replacement(link);
    Must(replacement.Prepare(ImageOf("new\n")));
    Must(replacement.Commit());
    EXPECT_EQ(fs::read_symlink(link), "folder/file");
    EXPECT_FALSE(fs::is_symlink(m_file));
    EXPECT_EQ(ReadFile(m_file), "new\n");
}

TEST_F(FileReplacement, RefusesALinkToNothing) {
    const std::string link = CTestRoot::Path("/etc/link");
    fs::create_symlink("folder/nothing", link);
    CFileReplacement replacement(link);
    EXPECT_EQ(Problem(replacement.Prepare(ImageOf("new\n"))),
              link + ": cannot be replaced (No such file or directory).");
    EXPECT_TRUE(fs::is_symlink(link));
}

TEST_F(FileReplacement, SaysWhyItCannotBe) {
    fs::create_directory(m_folder + "/.file.loggerctl-new");
    CFileReplacement replacement(m_file);
    EXPECT_EQ(Problem(replacement.Prepare(ImageOf("new\n"))),
              m_file + ": cannot be replaced (Is a directory).");
    EXPECT_EQ(ReadFile(m_file), "old\n");
}

TEST_F(FileReplacement, LeavesTheOldFileWhenTheExchangeFails) {
    CFileReplacement replacement(m_file);
    Must(replacement.Prepare(ImageOf("new\n")));
    fs::remove(m_file);
    fs::create_directory(m_file);
    EXPECT_EQ(Problem(replacement.Commit()), m_file + ": cannot be replaced (Is a directory).");
    EXPECT_TRUE(fs::is_directory(m_file));
}

// ---- Check ----

// Sets attributes of a file as chattr does, until it goes.
class CAttributes {
public:
    CAttributes(const std::string& path, int flags)
        : m_file(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
        m_set = m_file.IsOpen() && ioctl(m_file.Get(), FS_IOC_GETFLAGS, &m_before) == 0 &&
                Set(m_before | flags);
    }
    ~CAttributes() {
        if (m_set) {
            EXPECT_TRUE(Set(m_before));
        }
    }
    CAttributes(const CAttributes&) = delete;
    CAttributes& operator=(const CAttributes&) = delete;
    [[nodiscard]] bool AreSet() const { return m_set; }

private:
    [[nodiscard]] bool Set(int flags) const {
        return ioctl(m_file.Get(), FS_IOC_SETFLAGS, &flags) == 0;
    }

    CDescriptor m_file;
    int m_before = 0;
    bool m_set = false;
};

class Check : public FileReplacement {
protected:
    // Both say the same; nothing is touched by the checking.
    void ExpectRefused(const std::string& path, int number) const {
        const std::vector<std::string> names = Names();
        const Expected<void> answer = CFileReplacement::Check(path);
        ASSERT_FALSE(answer);
        EXPECT_EQ(answer.error().m_number, number);
        EXPECT_EQ(answer.error().m_text,
                  path + ": cannot be replaced (" + std::strerror(number) + ").");
        EXPECT_EQ(Names(), names);
    }

    // In a mount namespace of its own; true when it could be looked at.
    template <class Function>
    static bool InOwnNamespace(const Function& function) {
        constexpr int kCannot = 77;
        const pid_t child = fork();
        if (child == 0) {
            if (unshare(CLONE_NEWNS) != 0 ||
                mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
                _exit(kCannot);
            }
            function();
            _exit(testing::Test::HasFailure() ? 1 : 0);
        }
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        const bool could = !WIFEXITED(status) || WEXITSTATUS(status) != kCannot;
        EXPECT_TRUE(status == 0 || !could) << status;
        return could;
    }
};

TEST_F(Check, FindsAFileThatCanBeReplaced) {
    const std::vector<std::string> names = Names();
    Must(CFileReplacement::Check(m_file));
    Must(CFileReplacement::Check(m_folder + "/missing"));
    const std::string link = CTestRoot::Path("/etc/link");
    fs::create_symlink("folder/file", link);
    Must(CFileReplacement::Check(link));
    EXPECT_EQ(Names(), names);
}

TEST_F(Check, RefusesWhatCannotBeFound) {
    ExpectRefused(CTestRoot::Path("/etc/nothing/file"), ENOENT);
    ExpectRefused(m_file + "/file", ENOTDIR);
    const std::string link = CTestRoot::Path("/etc/link");
    fs::create_symlink("folder/nothing", link);
    ExpectRefused(link, ENOENT);
    ExpectRefused(m_folder, EISDIR);
}

TEST_F(Check, RefusesAFolderThatCannotBeWritten) {
    const std::string link = CTestRoot::Path("/etc/link");
    fs::create_symlink("folder/file", link);
    chmod(m_folder.c_str(), 0500);
    const CWithoutFilePrivileges ordinary;
    ExpectRefused(m_file, EACCES);
    ExpectRefused(link, EACCES);
}

TEST_F(Check, RefusesAReadOnlyFileSystem) {
    const auto look = [this] {
        const char* const folder = m_folder.c_str();
        ASSERT_EQ(mount(folder, folder, nullptr, MS_BIND, nullptr), 0);
        ASSERT_EQ(mount(folder, folder, nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr), 0);
        ExpectRefused(m_file, EROFS);
        ExpectRefused(m_folder + "/missing", EROFS);
    };
    if (!InOwnNamespace(look)) {
        GTEST_SKIP() << "nothing can be mounted here";
    }
}

TEST_F(Check, RefusesAFileThatIsMounted) {
    const auto look = [this] {
        ASSERT_EQ(mount(m_file.c_str(), m_file.c_str(), nullptr, MS_BIND, nullptr), 0);
        ExpectRefused(m_file, EBUSY);
        CFileReplacement replacement(m_file);
        Must(replacement.Prepare(ImageOf("new\n")));
        EXPECT_FALSE(replacement.Commit());
    };
    if (!InOwnNamespace(look)) {
        GTEST_SKIP() << "nothing can be mounted here";
    }
}

struct AttributeRow {
    const char* name;
    int flag;
    bool ofTheFolder;
};

class AttributeTest : public Check, public testing::WithParamInterface<AttributeRow> {};

TEST_P(AttributeTest, IsRefused) {
    const CAttributes attributes(GetParam().ofTheFolder ? m_folder : m_file, GetParam().flag);
    if (!attributes.AreSet()) {
        GTEST_SKIP() << "this file system, or this user, cannot set them";
    }
    ExpectRefused(m_file, EPERM);
    const std::string link = CTestRoot::Path("/etc/link");
    fs::create_symlink("folder/file", link);
    ExpectRefused(link, EPERM);
}

const AttributeRow kAttributeRows[] = {
    {"ImmutableFile", FS_IMMUTABLE_FL, false},
    {"AppendOnlyFile", FS_APPEND_FL, false},
    {"ImmutableFolder", FS_IMMUTABLE_FL, true},
    {"AppendOnlyFolder", FS_APPEND_FL, true},
};
INSTANTIATE_TEST_SUITE_P(Rows, AttributeTest, testing::ValuesIn(kAttributeRows),
                         RowName<AttributeRow>);

} // namespace
