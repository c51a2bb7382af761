// Whether the file systems have room for the settings files.

#include "loggerctl/agent/SettingsFiles.h"
#include "tests/support/CChildProcess.h"
#include "tests/support/CTestRoot.h"
#include "tests/unit/loggerctl/HostFiles.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <filesystem>

namespace {

constexpr std::size_t kBlock = 4096;

// While the object lives, every file system has room for these blocks.
class CReservingFileSystem {
public:
    static constexpr std::size_t kForRoot = 5;
    static constexpr std::size_t kForAll = 2;

    CReservingFileSystem() { s_isThere = true; }
    ~CReservingFileSystem() { s_isThere = false; }
    CReservingFileSystem(const CReservingFileSystem&) = delete;
    CReservingFileSystem& operator=(const CReservingFileSystem&) = delete;

    static void Describe(struct statvfs* system) {
        if (s_isThere) {
            system->f_frsize = kBlock;
            system->f_blocks = 100;
            system->f_bfree = kForRoot;
            system->f_bavail = kForAll;
        }
    }

private:
    inline static bool s_isThere = false;
};

} // namespace

// The linker lets the product call this in place of statvfs, and takes the sanitizers' libraries
// for callers, too.
extern "C" int __real_statvfs(const char* path, struct statvfs* system);
extern "C" __attribute__((visibility("default"))) int __wrap_statvfs(const char* path,
                                                                     struct statvfs* system) {
    const int result = __real_statvfs(path, system);
    CReservingFileSystem::Describe(system);
    return result;
}

namespace {

history::CSettingsCopy FilesOfSizes(std::size_t agentSize, std::size_t alertSize) {
    history::CSettingsCopy copy;
    copy.m_files[0].m_text.assign(agentSize, 'x');
    copy.m_files[1].m_text.assign(alertSize, 'x');
    return copy;
}

// Runs a function where the settings files have a file system to themselves, of six blocks unless
// another size is given, of which they take one each; false where there cannot be one.
bool InSmallFileSystem(int (*function)(), const char* size = "size=24k") {
    constexpr int kCannot = 77;
    CChildProcess child([function, size] {
        const std::string folder = std::filesystem::path(kAgent).parent_path();
        if (unshare(CLONE_NEWNS) != 0 ||
            mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            mount("none", folder.c_str(), "tmpfs", 0, size) != 0) {
            return kCannot;
        }
        WriteFile(kAgent, "a\n");
        WriteFile(kAlert, "b\n");
        return function();
    });
    const int status = child.Wait();
    EXPECT_TRUE(status == 0 || status == kCannot) << "row " << status;
    return status != kCannot;
}

struct CRoomRow {
    std::size_t m_agentSize;
    std::size_t m_alertSize;
    std::size_t m_needed; // 0: there is room
};

constexpr CRoomRow kRoomRows[] = {
    {0, 0, 0},
    {1, 1, 0},
    {2 * kBlock, 2 * kBlock, 0},
    {3 * kBlock, kBlock, 0},
    {3 * kBlock, kBlock + 1, 5 * kBlock}, // each file takes whole blocks
    {3 * kBlock + 1, 1, 5 * kBlock},
    {0, 5 * kBlock, 5 * kBlock},
};

int CheckRooms() {
    int number = 0;
    for (const CRoomRow& row : kRoomRows) {
        ++number;
        const std::string wanted =
            row.m_needed == 0 ? ""
                              : kAgent + ": its file system has " + std::to_string(4 * kBlock) +
                                    " bytes free, and writing the settings needs " +
                                    std::to_string(row.m_needed) + ". Make room first.";
        if (agent::WhyNoRoom(FilesOfSizes(row.m_agentSize, row.m_alertSize)).m_text != wanted) {
            return number;
        }
    }
    return 0;
}

TEST(WhyNoRoom, CountsBothFilesOfOneFileSystem) {
    const CTestRoot root;
    if (sysconf(_SC_PAGESIZE) != kBlock || !InSmallFileSystem(CheckRooms)) {
        GTEST_SKIP() << "this user cannot mount a small file system";
    }
}

int CheckRoomsApart() {
    // alert.cfg is one of another file system, with room.
    const std::string elsewhere = CTestRoot::Path("/bin/alert.cfg");
    WriteFile(elsewhere, "");
    std::filesystem::remove(kAlert);
    std::filesystem::create_symlink(elsewhere, kAlert);
    return agent::WhyNoRoom(FilesOfSizes(5 * kBlock, 100 * kBlock)).m_text.empty() &&
                   !agent::WhyNoRoom(FilesOfSizes(5 * kBlock + 1, 0)).m_text.empty()
               ? 0
               : 1;
}

TEST(WhyNoRoom, CountsEachFileSystemByItself) {
    const CTestRoot root;
    if (sysconf(_SC_PAGESIZE) != kBlock || !InSmallFileSystem(CheckRoomsApart)) {
        GTEST_SKIP() << "this user cannot mount a small file system";
    }
}

// Such a file system says that all its numbers are 0.
TEST(WhyNoRoom, IsNoneWithoutALimit) {
    const CTestRoot root;
    const auto check = [] { return agent::WhyNoRoom(FilesOfSizes(1, 1)).m_text.empty() ? 0 : 1; };
    if (!InSmallFileSystem(check, "size=0")) {
        GTEST_SKIP() << "this user cannot mount a small file system";
    }
}

bool IsRoomForJust(std::size_t blocks) {
    return agent::WhyNoRoom(FilesOfSizes(blocks * kBlock, 0)).m_text.empty() &&
           !agent::WhyNoRoom(FilesOfSizes(blocks * kBlock + 1, 0)).m_text.empty();
}

TEST(WhyNoRoom, LeavesTheRoomThatIsKeptForRootToRoot) {
    const CTestRoot root;
    const CReservingFileSystem fileSystem;
    if (geteuid() != 0) {
        EXPECT_TRUE(IsRoomForJust(CReservingFileSystem::kForAll));
        GTEST_SKIP() << "this user cannot become root";
    }
    EXPECT_TRUE(IsRoomForJust(CReservingFileSystem::kForRoot));
    CChildProcess child([] {
        if (seteuid(kOrdinaryUser) != 0) {
            return 1;
        }
        if (faccessat(AT_FDCWD, kAgent.c_str(), F_OK, AT_EACCESS) != 0) {
            return kOutOfReach;
        }
        return IsRoomForJust(CReservingFileSystem::kForAll) ? 0 : 1;
    });
    const int status = child.Wait();
    if (status == kOutOfReach) {
        GTEST_SKIP() << "another user cannot enter the test root";
    }
    EXPECT_EQ(status, 0);
}

// A copy takes two blocks besides its files. The folder above stands for a history that is not
// there.
TEST(WhyNoRoomForCopy, CountsTheFilesAndWhatStandsBesideThem) {
    const CTestRoot root;
    const CReservingFileSystem fileSystem;
    const std::size_t free =
        geteuid() == 0 ? CReservingFileSystem::kForRoot : CReservingFileSystem::kForAll;
    const std::size_t forFiles = free - 2;
    EXPECT_EQ(agent::WhyNoRoomForCopy(FilesOfSizes(forFiles * kBlock, 0)).m_text, "");
    EXPECT_EQ(agent::WhyNoRoomForCopy(FilesOfSizes(forFiles * kBlock, 1)).m_text,
              CTestRoot::Path("/var/opt/veltaro/kzm/logger") + ": its file system has " +
                  std::to_string(free * kBlock) +
                  " bytes free, and a copy of the settings files needs " +
                  std::to_string((free + 1) * kBlock) + ". Make room first.");
}

TEST(WhyNoRoom, LeavesMissingFilesToOthers) {
    const CTestRoot root;
    std::filesystem::remove(kAgent);
    std::filesystem::remove(kAlert);
    EXPECT_EQ(agent::WhyNoRoom(FilesOfSizes(1, 1)).m_text, "");
}

} // namespace
