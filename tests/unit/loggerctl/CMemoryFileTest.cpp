#include "loggerctl/record/CMemoryFile.h"

#include "tests/support/CFileSizeLimit.h"
#include "tests/support/CTestRoot.h"

#include <gtest/gtest.h>

#include <fcntl.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace {

TEST(CMemoryFile, IsReadAndWrittenByItsPath) {
    const std::string text("a\0b\n\xFF", 5);
    const CMemoryFile file("one", text);
    const CMemoryFile other("one", "");
    EXPECT_EQ(file.Text(), text);
    EXPECT_EQ(ReadFile(file.Path()), text);
    EXPECT_NE(file.Path(), other.Path());
    WriteFile(file.Path(), "c");
    EXPECT_EQ(file.Text(), "c");
    EXPECT_EQ(other.Text(), "");
}

TEST(CMemoryFile, IsGoneWithItsObject) {
    std::string path;
    {
        const CMemoryFile file("one", "text");
        path = file.Path();
    }
    EXPECT_FALSE(std::ifstream(path).is_open());
}

TEST(CMemoryFile, IsNotMadeInPart) {
    const auto count = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                             std::filesystem::directory_iterator());
    };
    const auto before = count();
    {
        const CFileSizeLimit limit(3);
        EXPECT_THROW(CMemoryFile("one", "text"), std::system_error);
    }
    EXPECT_EQ(count(), before);
}

TEST(CMemoryFile, IsNotHandedToProgramsThatAreStarted) {
    const CMemoryFile file("one", "text");
    const std::string path = file.Path();
    const int descriptor = std::stoi(path.substr(path.rfind('/') + 1));
    EXPECT_EQ(fcntl(descriptor, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

} // namespace
