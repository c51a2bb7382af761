// Files whose reading and writing meets a system call that fails.

#include "history/CFileReplacement.h"
#include "history/DurableFile.h"

#include "tests/fault/CTracedProcess.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/TableTest.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

using namespace history;
using Kind = CSystemCallFault::Kind;

namespace {

constexpr int kOther = 255; // the function gave another answer than it should

CFileImage BigImage() {
    CFileImage image;
    image.m_text = std::string(10'000, 'x') + "end\n"; // more than one read
    image.m_owner = geteuid();
    image.m_group = getegid();
    image.m_mode = 0640;
    image.m_modified.tv_nsec = UTIME_NOW;
    return image;
}

struct FaultRow {
    const char* name;
    long call;
    Kind kind;
    int error;
    int answer; // 0 where the fault is got over
};

class Traced : public testing::Test {
protected:
    void SetUp() override {
        if (!CTracedProcess::IsPermitted()) {
            GTEST_SKIP() << "nobody may trace here";
        }
    }

    const CTestRoot m_root;
    const std::string m_path = CTestRoot::Path("/etc/image");
};

class FaultTest : public Traced, public testing::WithParamInterface<FaultRow> {
protected:
    // Expects that the function, run with the row's fault, answers as the row says.
    static void Expect(const std::function<int()>& function) {
        const FaultRow& row = GetParam();
        const CTracedProcess::End end =
            CTracedProcess::Run(function, {{row.call}, row.kind, row.error, 1});
        EXPECT_EQ(end.m_iStatus, row.answer);
    }
};

class WritingTest : public FaultTest {};

TEST_P(WritingTest, GivesAWholeFileOrNone) {
    Expect([this] {
        CTracedProcess::OpenWindow();
        const int error = WriteImage(AT_FDCWD, m_path, BigImage());
        CTracedProcess::CloseWindow();
        return error;
    });
    CFileImage found;
    const int reading = ReadImage(AT_FDCWD, m_path, Links::Refuse, &found);
    EXPECT_EQ(reading, GetParam().answer == 0 ? 0 : ENOENT);
    EXPECT_TRUE(reading != 0 || found.IsSame(BigImage()));
}

const FaultRow kWritingRows[] = {
    {"SignalBeforeTheFirstByte", SYS_write, Kind::kError, EINTR, 0},
    {"HalfIsWritten", SYS_write, Kind::kShort, 0, 0},
    {"NoRoom", SYS_write, Kind::kError, ENOSPC, ENOSPC},
    {"CannotBeMade", SYS_openat, Kind::kError, EMFILE, EMFILE},
    {"WhatStoodThereCannotBeRemoved", SYS_unlinkat, Kind::kError, EACCES, EACCES},
    {"OwnerThatIsRightCannotBeSet", SYS_fchown, Kind::kError, EPERM, 0}, // nobody tries
    {"ModeCannotBeSet", SYS_fchmod, Kind::kError, EPERM, EPERM},
    {"TimeCannotBeSet", SYS_utimensat, Kind::kError, EPERM, EPERM},
    {"DoesNotReachTheDisk", SYS_fsync, Kind::kError, EIO, EIO},
    {"NoRoomOnClosing", SYS_close, Kind::kErrorAfterwards, ENOSPC, ENOSPC},
};
INSTANTIATE_TEST_SUITE_P(Rows, WritingTest, testing::ValuesIn(kWritingRows), RowName<FaultRow>);

constexpr bool kOfFilesOnly = true; // the sanitizers write into pipes

// What is there when the process dies in front of a call.
class Dying : public Traced {
protected:
    void DieBefore(long call) const {
        const auto write = [this] {
            CTracedProcess::OpenWindow();
            return WriteImage(AT_FDCWD, m_path, BigImage());
        };
        EXPECT_EQ(
            CTracedProcess::Run(write, {{call}, Kind::kKill, 0, 1, false, kOfFilesOnly}).m_iStatus,
            CTracedProcess::kKilled);
    }
};

TEST_F(Dying, LeavesAFileForItsOwnerAloneUntilItHasItsMode) {
    for (const long call : {SYS_write, SYS_fchmod}) {
        DieBefore(call);
        struct stat status {};
        ASSERT_EQ(stat(m_path.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, 0600U);
    }
}

TEST_F(Dying, LeavesTheWholeFileWhenItIsWrittenToDisk) {
    DieBefore(SYS_fsync);
    CFileImage found;
    ASSERT_EQ(ReadImage(AT_FDCWD, m_path, Links::Refuse, &found), 0);
    EXPECT_TRUE(found.IsSame(BigImage()));
}

TEST_F(Traced, LeavesNoFileThatCannotBeGivenToItsOwner) {
    CFileImage image = BigImage();
    image.m_owner = 12;
    const auto write = [&] {
        CTracedProcess::OpenWindow();
        const int error = WriteImage(AT_FDCWD, m_path, image);
        CTracedProcess::CloseWindow();
        return error;
    };
    EXPECT_EQ(CTracedProcess::Run(write, {{SYS_fchown}, Kind::kError, EPERM, 1}).m_iStatus, EPERM);
    EXPECT_FALSE(std::filesystem::exists(m_path));
}

// ---- Putting a file in another one's place ----

class Replacing : public Traced {
protected:
    // What the exchange of the prepared file answers where the fault happens to it.
    [[nodiscard]] CTracedProcess::End Exchange(const CSystemCallFault& fault) const {
        WriteFile(m_path, "old\n");
        const auto exchange = [this] {
            CFileReplacement replacement(m_path);
            EXPECT_TRUE(replacement.Prepare(BigImage()));
            CTracedProcess::OpenWindow();
            const auto committed = replacement.Commit();
            CTracedProcess::CloseWindow();
            return committed ? 0 : committed.error().m_number;
        };
        return CTracedProcess::Run(exchange, fault);
    }
    [[nodiscard]] bool IsNewInPlace() const { return ReadFile(m_path) == BigImage().m_text; }
    [[nodiscard]] bool IsNewBeside() const {
        return std::filesystem::exists(CTestRoot::Path("/etc/.image.loggerctl-new"));
    }
};

TEST_F(Replacing, LeavesTheOldFileAloneWhenTheExchangeFails) {
    EXPECT_EQ(Exchange({{SYS_renameat}, Kind::kError, EIO, 1}).m_iStatus, EIO);
    EXPECT_FALSE(IsNewInPlace());
    EXPECT_FALSE(IsNewBeside());
}

TEST_F(Replacing, TellsThatTheExchangeDoesNotReachTheDisk) {
    EXPECT_EQ(Exchange({{SYS_fsync}, Kind::kError, EIO, 1}).m_iStatus, EIO);
    EXPECT_TRUE(IsNewInPlace());
    EXPECT_FALSE(IsNewBeside());
}

TEST_F(Replacing, WritesTheExchangeToDiskBehindIt) {
    EXPECT_EQ(Exchange({{SYS_fsync}, Kind::kKill, 0, 1}).m_iStatus, CTracedProcess::kKilled);
    EXPECT_TRUE(IsNewInPlace());
}

// ---- Reading a file ----

class ReadingTest : public FaultTest {};

TEST_P(ReadingTest, GivesTheWholeTextOrLeavesTheImageAlone) {
    ASSERT_EQ(WriteImage(AT_FDCWD, m_path, BigImage()), 0);
    Expect([this] {
        CFileImage found;
        found.m_text = "before\n";
        CTracedProcess::OpenWindow();
        const int error = ReadImage(AT_FDCWD, m_path, Links::Refuse, &found);
        CTracedProcess::CloseWindow();
        return found.m_text == (error == 0 ? BigImage().m_text : "before\n") ? error : kOther;
    });
}

const FaultRow kReadingRows[] = {
    {"SignalBeforeTheFirstByte", SYS_read, Kind::kError, EINTR, 0},
    {"HalfIsRead", SYS_read, Kind::kShort, 0, 0},
    {"CannotBeOpened", SYS_openat, Kind::kError, EMFILE, EMFILE},
    {"CannotBeRead", SYS_read, Kind::kError, EIO, EIO},
};
INSTANTIATE_TEST_SUITE_P(Rows, ReadingTest, testing::ValuesIn(kReadingRows), RowName<FaultRow>);

} // namespace
