#include "loggerctl/record/CMemoryFile.h"

#include "tests/support/CTestRoot.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

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

} // namespace
