// A command is over when its time is, whatever it does.

#include "tests/hosts/CommandHost.h"

#include <gtest/gtest.h>

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <filesystem>

using namespace CommandHost;
using std::string;

namespace {

constexpr uid_t kSomeUser = 65534;
const char kTimedOut[] = " took longer than TimeoutSeconds and was ended";
const char kGoesOn[] = " took longer than TimeoutSeconds, could not be ended and goes on running";

string InTime(Clock::time_point begin, double secondsAtMost) {
    return SecondsSince(begin) <= secondsAtMost ? "; in time" : "; late";
}

bool Exists(pid_t process) {
    return kill(process, 0) == 0 || errno != ESRCH;
}

TEST(CommandsEnd, ComesAlsoToOneThatHasLeftItsGroup) {
    EXPECT_EQ(
        "124 \"" WAYWARD_COMMAND "\"" + string(kTimedOut) + "; in time; gone", In([] {
            const CSharedFile file;
            const Clock::time_point begin = Clock::now();
            const string answer = RunCommand({WAYWARD_COMMAND, "leave-group", file.Path()}, 1);
            const pid_t process = file.Process();
            return answer + InTime(begin, 3) +
                   (process > 0 && !Exists(process) ? "; gone" : "; there");
        }));
}

TEST(CommandsEnd, IsNotWaitedForWhenAChildHasLeftTheSession) {
    EXPECT_EQ("124 \"/usr/bin/setsid\"" + string(kTimedOut) + "; in time", In([] {
                  const CSharedFile file;
                  const Clock::time_point begin = Clock::now();
                  const string answer =
                      RunCommand({"/usr/bin/setsid", "--fork", "--wait", "/bin/sh", "-c",
                                  "echo $$ > " + file.Path() + "; exec sleep 60"},
                                 1);
                  file.KillProcess(); // nothing leads to it from the command
                  return answer + InTime(begin, 3);
              }));
}

// From now on this process may signal nobody.
bool RefuseSignals() {
    std::array<sock_filter, 4> rules{{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_kill, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    }};
    const sock_fprog program{rules.size(), rules.data()};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0 && kill(getpid(), 0) == -1;
}

TEST(CommandsEnd, IsNotWaitedForWhereNobodyMaySignal) {
    static const char kNoFilter[] = "no filter";
    const string end = In([] {
        if (!RefuseSignals()) {
            return string(kNoFilter);
        }
        const Clock::time_point begin = Clock::now();
        const string answer = RunCommand({"/bin/sleep", "20"}, 1);
        const string inTime = InTime(begin, 8);
        return answer + inTime + "; then " + RunShell("exit 3");
    });
    if (end == kNoFilter) {
        GTEST_SKIP() << "this system allows no filter of system calls";
    }
    EXPECT_EQ("124 \"/bin/sleep\"" + string(kGoesOn) + "; in time; then 3", end);
}

// A copy that becomes root whoever starts it.
class CSetUserIdCopy {
public:
    CSetUserIdCopy() {
        std::filesystem::copy_file(WAYWARD_COMMAND, m_sPath,
                                   std::filesystem::copy_options::overwrite_existing);
        chmod(m_sPath.c_str(), S_ISUID | S_IRWXU | S_IXGRP | S_IXOTH | S_IRGRP | S_IROTH);
    }
    ~CSetUserIdCopy() { unlink(m_sPath.c_str()); }
    CSetUserIdCopy(const CSetUserIdCopy&) = delete;
    CSetUserIdCopy& operator=(const CSetUserIdCopy&) = delete;

    [[nodiscard]] const string& Path() const { return m_sPath; }
    [[nodiscard]] bool IsHonoured() const {
        struct statvfs status {};
        return statvfs(m_sPath.c_str(), &status) == 0 && (status.f_flag & ST_NOSUID) == 0;
    }

private:
    const string m_sPath = testing::TempDir() + "kzm-wayward-" + std::to_string(getpid());
};

TEST(CommandsEnd, IsNotWaitedForWhenItHasBecomeAnotherUsers) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can make a program that becomes root";
    }
    const CSetUserIdCopy copy;
    if (!copy.IsHonoured()) {
        GTEST_SKIP() << copy.Path() << " is on a file system without set-user-ID programs";
    }
    const CSharedFile file;
    const string end = In([&] {
        if (setgid(kSomeUser) != 0 || setuid(kSomeUser) != 0) {
            return string("no other user");
        }
        const Clock::time_point begin = Clock::now();
        const string answer = RunCommand({copy.Path(), "become-root", file.Path()}, 1);
        return answer + InTime(begin, 6);
    });
    EXPECT_TRUE(file.Process() > 0 && Exists(file.Process())) << "it was ended after all";
    file.KillProcess();
    EXPECT_EQ("124 \"" + copy.Path() + "\"" + kGoesOn + "; in time", end);
}

} // namespace
