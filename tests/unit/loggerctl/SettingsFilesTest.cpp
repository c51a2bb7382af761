#include "loggerctl/agent/SettingsFiles.h"

#include "KzmPaths.h"
#include "tests/support/CChildProcess.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/CWithoutFilePrivileges.h"
#include "tests/unit/loggerctl/HostFiles.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <optional>

namespace {

using output::ExitCode;

// As an ordinary user in a process of its own, what a function finds out. Nothing when this test
// does not run as root, or that user may not enter a folder above the test root.
std::optional<agent::CReason> AsOrdinaryUser(agent::CReason (*function)(const std::string&),
                                             const std::string& path) {
    if (geteuid() != 0) {
        return std::nullopt;
    }
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    CChildProcess child([&] {
        if (seteuid(kOrdinaryUser) != 0) {
            return -1;
        }
        if (faccessat(AT_FDCWD, CTestRoot::Path("/").c_str(), X_OK, AT_EACCESS) != 0) {
            return kOutOfReach;
        }
        const agent::CReason reason = function(path);
        const auto size = static_cast<ssize_t>(reason.m_text.size());
        return write(ends[1], reason.m_text.data(), reason.m_text.size()) == size
                   ? static_cast<int>(reason.m_code)
                   : -1;
    });
    agent::CReason reason;
    reason.m_code = static_cast<output::ExitCode>(child.Wait());
    close(ends[1]);
    char text[1000];
    const ssize_t size = read(ends[0], text, sizeof text);
    close(ends[0]);
    if (static_cast<int>(reason.m_code) == kOutOfReach) {
        return std::nullopt;
    }
    reason.m_text.assign(text, static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    return reason;
}

// A file's attribute as chattr sets it, until it goes.
class CAttribute {
public:
    CAttribute(const std::string& path, int attribute)
        : m_descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC)),
          m_isSet(Change(attribute)) {}
    ~CAttribute() {
        Change(0);
        close(m_descriptor);
    }
    CAttribute(const CAttribute&) = delete;
    CAttribute& operator=(const CAttribute&) = delete;

    [[nodiscard]] bool IsSet() const { return m_isSet; }

private:
    bool Change(int attribute) const {
        int flags = 0;
        if (ioctl(m_descriptor, FS_IOC_GETFLAGS, &flags) != 0) {
            return false;
        }
        flags = (flags & ~(FS_APPEND_FL | FS_IMMUTABLE_FL)) | attribute;
        return ioctl(m_descriptor, FS_IOC_SETFLAGS, &flags) == 0;
    }

    int m_descriptor;
    bool m_isSet;
};

#define EXPECT_REASON(reason, text, code)                                                          \
    do {                                                                                           \
        const agent::CReason found = (reason);                                                     \
        EXPECT_EQ(found.m_text, text);                                                             \
        EXPECT_EQ(static_cast<int>(found.m_code), static_cast<int>(code));                         \
    } while (false)

// ---- Reading and writing ----

TEST(WhyNotRead, FindsWhatIsInTheWay) {
    const CTestRoot root;
    EXPECT_REASON(agent::WhyNotRead(kAgent), "", output::ExitCode::Failure);
    ReplaceWithFolder(kAgent);
    EXPECT_REASON(agent::WhyNotRead(kAgent),
                  kAgent + ": is a directory. Put the agent's file in its place.",
                  output::ExitCode::Failure);
    std::filesystem::remove(kAgent);
    EXPECT_REASON(agent::WhyNotRead(kAgent),
                  kAgent + ": does not exist. Install the agent, or put the file back.",
                  output::ExitCode::Failure);
    EXPECT_REASON(agent::WhyNotRead(kAlert + "/x\x1B"),
                  kAlert + "/x\\x1B: cannot be read (Not a directory).", output::ExitCode::Failure);
}

TEST(WhyNotRead, TellsRightsThatRootHas) {
    const CTestRoot root;
    chmod(kAgent.c_str(), 0600);
    const auto reason = AsOrdinaryUser(agent::WhyNotRead, kAgent);
    if (!reason) {
        GTEST_SKIP() << "this user cannot become another one";
    }
    EXPECT_REASON(*reason,
                  kAgent + ": cannot be read (Permission denied). Run the command as root.",
                  output::ExitCode::NoRights);
    const CWithoutFilePrivileges restricted; // root itself, where a file system does not trust it
    chmod(kAgent.c_str(), 0000);
    EXPECT_REASON(agent::WhyNotRead(kAgent), kAgent + ": cannot be read (Permission denied).",
                  output::ExitCode::Failure);
}

TEST(WhyNotWritten, FindsWhatIsInTheWay) {
    const CTestRoot root;
    EXPECT_REASON(agent::WhyNotWritten(kAgent), "", output::ExitCode::Failure);
    std::filesystem::remove(kAlert);
    EXPECT_REASON(agent::WhyNotWritten(kAlert),
                  kAlert + ": cannot be written (No such file or directory).",
                  output::ExitCode::Failure);
    const auto reason = AsOrdinaryUser(agent::WhyNotWritten, kAgent);
    if (reason) {
        EXPECT_REASON(*reason,
                      kAgent + ": cannot be written (Permission denied). Run the command as root.",
                      output::ExitCode::NoRights);
    }
}

TEST(WhyNotWritten, FindsAttributesThatBindRootToo) {
    const CTestRoot root;
    for (const int attribute : {FS_APPEND_FL, FS_IMMUTABLE_FL}) {
        const CAttribute set(kAgent, attribute);
        if (!set.IsSet()) {
            GTEST_SKIP() << "this file system or this user has no such attributes";
        }
        EXPECT_EQ(agent::WhyNotRead(kAgent).m_text, "");
        EXPECT_EQ(agent::WhyNotWritten(kAgent).m_text,
                  kAgent + ": cannot be written (Operation not permitted).")
            << attribute;
    }
    EXPECT_EQ(agent::WhyNotWritten(kAgent).m_text, "");
}

// ---- The lock file ----

TEST(WhyNotLocked, FindsWhatIsInTheWay) {
    const CTestRoot root;
    const std::string path = KzmPaths::kLockFile;
    const std::string folder = std::filesystem::path(path).parent_path();
    EXPECT_REASON(agent::WhyNotLocked(path), "", output::ExitCode::Failure); // can be made
    WriteFile(path, "");
    EXPECT_REASON(agent::WhyNotLocked(path), "", output::ExitCode::Failure);
    chmod(path.c_str(), 0600);
    if (const auto reason = AsOrdinaryUser(agent::WhyNotLocked, path)) {
        EXPECT_REASON(*reason,
                      path + ": cannot be written (Permission denied). Run the command as root.",
                      output::ExitCode::NoRights);
    }
    ReplaceWithFolder(path);
    EXPECT_REASON(agent::WhyNotLocked(path),
                  path + ": is a directory. Remove it: the lock file belongs there.",
                  output::ExitCode::Failure);
    std::filesystem::remove(path);
    if (const auto reason = AsOrdinaryUser(agent::WhyNotLocked, path)) {
        EXPECT_REASON(*reason,
                      path + ": cannot be created (Permission denied). Run the command as root.",
                      output::ExitCode::NoRights);
    }
    chmod(folder.c_str(), 0700);
    if (const auto reason = AsOrdinaryUser(agent::WhyNotLocked, path)) {
        EXPECT_REASON(*reason,
                      folder + ": cannot be entered (Permission denied). Run the command as root.",
                      output::ExitCode::NoRights);
    }
    std::filesystem::remove(folder);
    EXPECT_REASON(agent::WhyNotLocked(path),
                  folder + ": does not exist. Create the lock file's folder with mode 0700.",
                  output::ExitCode::Failure);
}

// ---- Failures ----

TEST(ToFailure, IsTheHistorysProblemInTheToolsForm) {
    const output::CFailure failure = agent::ToFailure("No.", history::CProblem{"Why.", EROFS});
    EXPECT_EQ(static_cast<int>(failure.m_code), static_cast<int>(output::ExitCode::Failure));
    EXPECT_EQ(failure.m_headline, "No.");
    EXPECT_EQ(failure.m_reasons, std::vector<std::string>{"Why."});
    EXPECT_FALSE(failure.m_state);
}

TEST(ToFailure, KeepsAReasonsCode) {
    const output::CFailure failure =
        agent::ToFailure("No.", agent::CReason{"Why.", output::ExitCode::Busy});
    EXPECT_EQ(static_cast<int>(failure.m_code), static_cast<int>(output::ExitCode::Busy));
    EXPECT_EQ(failure.m_headline, "No.");
    EXPECT_EQ(failure.m_reasons, std::vector<std::string>{"Why."});
}

TEST(ToFailure, AdvisesThatRootIsNeeded) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "this user cannot become another one";
    }
    EXPECT_EQ(agent::ToFailure("No.", history::CProblem{"Why.", EACCES}).m_reasons,
              std::vector<std::string>{"Why."});
    CChildProcess child([] {
        const bool isOther = seteuid(kOrdinaryUser) == 0;
        const output::CFailure failure = agent::ToFailure("No.", history::CProblem{"Why.", EPERM});
        return isOther && failure.m_code == output::ExitCode::NoRights &&
                       failure.m_reasons.front() == "Why. Run the command as root."
                   ? 0
                   : 1;
    });
    EXPECT_EQ(child.Wait(), 0);
}

// ---- The difference ----

TEST(Difference, IsEmptyBetweenEquals) {
    history::CSettingsCopy copy;
    copy.m_files[0].m_text = "a\n";
    copy.m_files[1].m_text = "b";
    EXPECT_EQ(agent::Difference(copy, copy), "");
}

TEST(Difference, HasTheFilesThatDiffer) {
    history::CSettingsCopy from;
    from.m_files[0].m_text = "a\nb\n";
    from.m_files[1].m_text = "c\xFF\n";
    history::CSettingsCopy to = from;
    to.m_files[1].m_text = "d\x1B";
    const std::string second = "--- a" + kAlert + "\n+++ b" + kAlert +
                               "\n@@ -1 +1 @@\n-c\xFF\n+d\x1B\n\\ No newline at end of file\n";
    EXPECT_EQ(agent::Difference(from, to), second);
    to.m_files[0].m_text = "a\n";
    EXPECT_EQ(agent::Difference(from, to),
              "--- a" + kAgent + "\n+++ b" + kAgent + "\n@@ -1,2 +1 @@\n a\n-b\n" + second);
}

TEST(Difference, IsOneThatPatchTakes) {
    history::CSettingsCopy from;
    from.m_files[0].m_text = "a\nb\n";
    history::CSettingsCopy to;
    to.m_files[0].m_text = "a\nc\n";
    EXPECT_EQ(agent::Difference(from, to).rfind("--- a/", 0), 0U);
    EXPECT_NE(agent::Difference(from, to).find("\n+++ b/"), std::string::npos);
}

} // namespace
