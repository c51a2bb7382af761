#include "host/CTextFile.h"

#include "tests/support/CFailingCall.h"
#include "tests/support/CTempFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

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

std::size_t OpenDescriptors() {
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                      std::filesystem::directory_iterator()));
}

TEST(TextFile, IsClosedWhateverBecameOfIt) {
    const CTempFile file("12345");
    const std::size_t before = OpenDescriptors();
    for (const string& path : {file.Path(), string("/"), string("/no/such/file")}) {
        for (const std::size_t maximum : {4U, 5U}) {
            string reason;
            CTextFile::Read(path, maximum, &reason);
        }
    }
    EXPECT_EQ(before, OpenDescriptors());
}

TEST(TextFile, ThatCannotBeReadToItsEndSaysWhy) {
    const CTempFile file("12345");
    for (const char* call : {"fstat", "read"}) {
        for (const int n : {1, 2}) {
            const CFailingCall failing(call, EIO, n);
            string reason;
            const bool isRead = CTextFile::Read(file.Path(), 100, &reason).has_value();
            EXPECT_NE(isRead, CFailingCall::IsMet());
            EXPECT_EQ(isRead ? "" : "Input/output error", reason);
        }
    }
}

TEST(TextFile, IsReadOnBehindASignal) {
    const CTempFile file("12345");
    const CFailingCall failing("read", EINTR);
    string reason;
    EXPECT_EQ("12345", CTextFile::Read(file.Path(), 100, &reason));
    EXPECT_TRUE(CFailingCall::IsMet());
}

} // namespace
