#include "history/DurableFile.h"

#include "history/CDescriptor.h"
#include "tests/support/CTestRoot.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fstream>
#include <thread>

using namespace history;

namespace {

constexpr char kFile[] = "/etc/image";

CFileImage DatedImage(const std::string& text) {
    CFileImage image;
    image.m_text = text;
    image.m_owner = geteuid();
    image.m_group = getegid();
    image.m_modified = {1'000'000, 0};
    return image;
}

class DurableFile : public testing::Test {
protected:
    [[nodiscard]] int Write(const CFileImage& image) const {
        return WriteImage(AT_FDCWD, m_path, image);
    }
    [[nodiscard]] CFileImage Read() const {
        CFileImage image;
        EXPECT_EQ(ReadImage(AT_FDCWD, m_path, Links::Refuse, &image), 0);
        return image;
    }
    [[nodiscard]] struct stat Status() const {
        struct stat status {};
        EXPECT_EQ(stat(m_path.c_str(), &status), 0);
        return status;
    }

    const CTestRoot m_root;
    const std::string m_path = CTestRoot::Path(kFile);
};

TEST_F(DurableFile, IsReadAsItWasWritten) {
    CFileImage image = DatedImage(std::string(10'000, 'x') + "end\n");
    image.m_mode = 06751;
    ASSERT_EQ(Write(image), 0);
    const CFileImage found = Read();
    EXPECT_TRUE(found.IsSame(image));
    EXPECT_EQ(found.m_mode, 06751U);
    EXPECT_EQ(found.m_modified.tv_sec, 1'000'000);
}

TEST_F(DurableFile, HasItsOwnTimeAndNotThatOfItsReading) {
    ASSERT_EQ(Write(DatedImage("text\n")), 0);
    const timespec times[] = {{2'000'000, 0}, {0, UTIME_OMIT}};
    ASSERT_EQ(utimensat(AT_FDCWD, m_path.c_str(), times, 0), 0);
    EXPECT_EQ(Read().m_modified.tv_sec, 1'000'000);
}

TEST_F(DurableFile, GetsAnotherOwnerOrGroupAloneWithItsMode) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give files away";
    }
    for (const auto& [owner, group] : {std::pair<uid_t, gid_t>{12, getegid()}, {geteuid(), 34}}) {
        CFileImage image = DatedImage("text\n");
        image.m_owner = owner;
        image.m_group = group;
        image.m_mode = 06755; // of an executable file, a change of the owner takes the first bits
        ASSERT_EQ(Write(image), 0);
        EXPECT_TRUE(Read().IsSame(image));
        const struct stat status = Status();
        EXPECT_EQ(status.st_uid, owner);
        EXPECT_EQ(status.st_gid, group);
        EXPECT_EQ(status.st_mode & 07777, 06755U);
    }
}

TEST_F(DurableFile, IsNotReadFromWhatIsNoFile) {
    CFileImage image = DatedImage("before\n");
    EXPECT_EQ(ReadImage(AT_FDCWD, "/dev/null", Links::Follow, &image), EINVAL);
    EXPECT_EQ(ReadImage(AT_FDCWD, "/", Links::Follow, &image), EISDIR);
    EXPECT_EQ(ReadImage(AT_FDCWD, CTestRoot::Path("/nowhere"), Links::Follow, &image), ENOENT);
    EXPECT_EQ(image.m_text, "before\n");
}

TEST(FileImage, IsTheSameInAllButItsTime) {
    const CFileImage image = DatedImage("text\n");
    const auto isSame = [&image](void (*change)(CFileImage*)) {
        CFileImage other = image;
        change(&other);
        return image.IsSame(other);
    };
    EXPECT_TRUE(isSame([](CFileImage* other) { ++other->m_modified.tv_sec; }));
    EXPECT_FALSE(isSame([](CFileImage* other) { other->m_text += "\n"; }));
    EXPECT_FALSE(isSame([](CFileImage* other) { ++other->m_owner; }));
    EXPECT_FALSE(isSame([](CFileImage* other) { ++other->m_group; }));
    EXPECT_FALSE(isSame([](CFileImage* other) { other->m_mode ^= 0004; }));
    EXPECT_FALSE(isSame([](CFileImage* other) { other->m_missing = true; }));
}

TEST(Descriptor, TellsWhatClosingSays) {
    const int number = open("/dev/null", O_RDONLY | O_CLOEXEC);
    CDescriptor descriptor(number);
    ASSERT_EQ(close(number), 0);
    EXPECT_EQ(descriptor.Close(), EBADF);
    EXPECT_EQ(descriptor.Close(), 0); // it is not the owner any more
}

// ---- A write that signals interrupt ----

std::atomic<int> signalsTaken{0};

// Whether the thread waits in a system call.
bool Sleeps(pid_t thread) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string text;
    std::getline(file, text);
    return text.find(") S ") != std::string::npos;
}

TEST(Descriptor, WritesTheWholeTextThoughSignalsInterruptIt) {
    int ends[2] = {-1, -1};
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    CDescriptor reading(ends[0]);
    CDescriptor writing(ends[1]);
    struct sigaction action {};
    struct sigaction before {};
    action.sa_handler = [](int) { ++signalsTaken; };
    sigaction(SIGUSR1, &action, &before);
    std::string text; // more than a pipe holds
    for (int line = 0; line < 30'000; ++line) {
        text += std::to_string(line) + "\n";
    }
    std::atomic<pid_t> thread{0};
    std::atomic<bool> isEnded{false};
    std::thread writer([&] {
        thread = gettid();
        EXPECT_EQ(CDescriptor::WriteAll(writing.Get(), text), 0);
        writing.Close();
        isEnded = true;
    });
    // The first one comes when a part is written, the second one when no more could be.
    for (int taken = 1; taken <= 2; ++taken) {
        while (!isEnded && (thread == 0 || !Sleeps(thread))) {
            std::this_thread::yield();
        }
        pthread_kill(writer.native_handle(), SIGUSR1);
        while (!isEnded && signalsTaken < taken) {
            std::this_thread::yield();
        }
    }
    std::string found;
    std::string buffer(65'536, '\0');
    for (ssize_t count = 0; (count = read(reading.Get(), buffer.data(), buffer.size())) > 0;) {
        found.append(buffer.data(), static_cast<std::size_t>(count));
    }
    writer.join();
    sigaction(SIGUSR1, &before, nullptr);
    EXPECT_TRUE(found == text) << found.size() << " of " << text.size() << " bytes";
}

} // namespace
