// A program that runs with its owner's rights takes no orders from its caller's environment.

#include "tests/support/CChildProcess.h"
#include "tests/support/CTestRoot.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <filesystem>

namespace fs = std::filesystem;
using std::string;

namespace {

constexpr uid_t kStranger = 65534;

class SetUserIdProgram : public testing::Test {
protected:
    void SetUp() override {
        if (geteuid() != 0) {
            GTEST_SKIP() << "only root can make a program of root's for others to run";
        }
        fs::copy_file(SECURE_PROGRAM, Program());
    }

    static string Program() { return CTestRoot::Path("/program"); }
    static string Trace() { return CTestRoot::Path("/trace"); }

    // Runs the copy as this user, with a hostile environment. What it prints on both outputs.
    static string Run(mode_t mode, uid_t user) {
        EXPECT_EQ(0, chmod(Program().c_str(), mode));
        const string output = CTestRoot::Path("/output");
        WriteFile(output, "");
        CChildProcess process([user, &output] { return Execute(user, output); });
        EXPECT_EQ(0, process.Wait());
        return ReadFile(output);
    }

private:
    // Comes back on failure alone.
    static int Execute(uid_t user, const string& output) {
        const int program = open(Program().c_str(), O_RDONLY | O_CLOEXEC);
        const int stream = open(output.c_str(), O_WRONLY | O_CLOEXEC);
        dup2(stream, STDOUT_FILENO);
        dup2(stream, STDERR_FILENO);
        if (setresuid(user, user, user) != 0) {
            return 1;
        }
        string file = "KZM_TRACE_FILE=" + Trace();
        string name = "program";
        string mask = "KZM_TRACE=15";
        string preload = string("LD_PRELOAD=") + PRELOADED_LIBRARY;
        string sanitizer = "ASAN_OPTIONS=verify_asan_link_order=0"; // it wants to be first
        std::array<char*, 2> arguments{name.data(), nullptr};
        std::array<char*, 5> environment{mask.data(), file.data(), preload.data(), sanitizer.data(),
                                         nullptr};
        fexecve(program, arguments.data(), environment.data());
        return 1;
    }

    const CTestRoot m_root;
};

TEST_F(SetUserIdProgram, HonoursNeitherTraceNorLoaderVariables) {
    EXPECT_EQ("secure=0 preloaded=1\n", Run(0755, 0)) << "the environment has no effect at all";
    EXPECT_TRUE(fs::remove(Trace()));

    const string printed = Run(04755, kStranger);
    if (printed.find("secure=0") != string::npos) {
        GTEST_SKIP() << "set-user-id bits have no effect here";
    }
    EXPECT_EQ("secure=1 preloaded=0\n", printed);
    EXPECT_FALSE(fs::exists(Trace()));
}

} // namespace
