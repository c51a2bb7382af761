#include "host/CTextFile.h"

#include "tests/support/CTempFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using std::string;

namespace {

TEST(TextFile, IsReadWholeUpToTheMaximum) {
    const string texts[] = {"", "one\n", string("a\0b\r\n", 5), string(200'000, 'x')};
    for (const string& text : texts) {
        SCOPED_TRACE(text.substr(0, 20));
        const CTempFile file(text);
        string reason;
        EXPECT_EQ(text, CTextFile::Read(file.Path(), text.size(), &reason)) << reason;
    }
}

TEST(TextFile, LongerThanTheMaximumIsRefused) {
    const CTempFile file("12345");
    string reason;
    EXPECT_FALSE(CTextFile::Read(file.Path(), 4, &reason));
    EXPECT_EQ("it is longer than 4 bytes", reason);
}

TEST(TextFile, MissingIsReported) {
    string reason;
    EXPECT_FALSE(CTextFile::Read("/no/such/file", 100, &reason));
    EXPECT_EQ("No such file or directory", reason);
}

TEST(TextFile, WhatIsNoRegularFileIsRefusedWithoutWaiting) {
    const CTempFile file("");
    const string pipe = file.Path() + ".pipe";
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
    for (const string& path : {pipe, string("/"), string("/dev/zero")}) {
        SCOPED_TRACE(path);
        string reason;
        EXPECT_FALSE(CTextFile::Read(path, 100, &reason));
        EXPECT_EQ("it is not a regular file", reason);
    }
    unlink(pipe.c_str());
}

} // namespace
