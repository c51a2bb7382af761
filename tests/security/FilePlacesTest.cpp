// What stands in the place of the lock file, of a settings file and of the device description.

#include "provider/MethodResult.h"
#include "providerbase/CDeviceDescription.h"
#include "tests/support/CChildProcess.h"
#include "tests/support/CLoadedProvider.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/CWithoutFilePrivileges.h"
#include "tests/support/ProviderLockFile.h"
#include "tests/support/TableTest.h"

#include "KzmPaths.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <thread>
#include <utility>

namespace fs = std::filesystem;
using std::string;

namespace {

constexpr uid_t kOtherOwner = 65534;

string DeviceDescription() {
    return string(KzmPaths::kDeviceFolder) + "/Logger.conf";
}

mode_t ModeOf(const string& path) {
    struct stat status {};
    EXPECT_EQ(0, stat(path.c_str(), &status)) << path;
    return status.st_mode & 07777;
}

// Somewhere else below the root.
string Elsewhere() {
    return CTestRoot::Path("/elsewhere");
}

void PutLink(const string& path) {
    fs::remove(path);
    fs::create_symlink(Elsewhere(), path);
}

// ---- The lock file ----

class LockFilePlace : public testing::Test {
protected:
    CTestRoot m_root;
    CLoadedProvider m_provider;
};

TEST_F(LockFilePlace, WithALinkChangesNothingOfTheFileThere) {
    for (const mode_t mode : {0644U, 0600U, 04755U}) {
        WriteFile(Elsewhere(), "precious\n");
        ASSERT_EQ(0, chmod(Elsewhere().c_str(), mode));
        PutLink(KzmPaths::kLockFile);
        EXPECT_EQ(0U, m_provider.Result("GetParameter"));
        EXPECT_EQ(0U, m_provider.SetResult(ChangedConf()));
        EXPECT_EQ("precious\n", ReadFile(Elsewhere()));
        EXPECT_EQ(mode, ModeOf(Elsewhere()));
    }
}

TEST_F(LockFilePlace, WithALinkToNothingMakesAnEmptyFileThere) {
    PutLink(KzmPaths::kLockFile);
    EXPECT_EQ(0U, m_provider.Result("GetParameter"));
    EXPECT_EQ("", ReadFile(Elsewhere()));
    EXPECT_EQ(0600U, ModeOf(Elsewhere()));
}

// The provider takes what it cannot read for missing, and gives what it makes its mode.
TEST_F(LockFilePlace, WithALinkCanOpenAFileThatItsOwnerCannotRead) {
    WriteFile(Elsewhere(), "precious\n");
    ASSERT_EQ(0, chmod(Elsewhere().c_str(), 0200));
    PutLink(KzmPaths::kLockFile);
    {
        const CWithoutFilePrivileges privileges;
        EXPECT_EQ(0U, m_provider.Result("GetParameter"));
    }
    EXPECT_EQ(0600U, ModeOf(Elsewhere()));
    EXPECT_EQ("precious\n", ReadFile(Elsewhere()));
}

// ---- Pipes ----

// A call in a process of its own that may wait for ever.
class CPatientCall {
public:
    explicit CPatientCall(const string& method) {
        int ends[2] = {-1, -1};
        EXPECT_EQ(0, pipe2(ends, O_CLOEXEC));
        m_iEnd = ends[0];
        m_process = std::make_unique<CChildProcess>([&] {
            CLoadedProvider provider;
            return provider.Call(method).m_uiMethodResult == 0 ? 0 : 1;
        });
        close(ends[1]); // now the process alone holds it
    }
    ~CPatientCall() { close(m_iEnd); }
    CPatientCall(const CPatientCall&) = delete;
    CPatientCall& operator=(const CPatientCall&) = delete;

    [[nodiscard]] bool HasEndedAfter(std::chrono::milliseconds time) const {
        pollfd gone{m_iEnd, POLLIN, 0};
        return poll(&gone, 1, static_cast<int>(time.count())) == 1;
    }
    int Wait() { return m_process->Wait(); }

private:
    int m_iEnd = -1;
    std::unique_ptr<CChildProcess> m_process;
};

struct PipeRow {
    const char* name;
    const char* m_pPath;
    const char* m_pText; // what ends the waiting
};
std::ostream& operator<<(std::ostream& out, const PipeRow& row) {
    return out << row.name;
}

class PipeInPlaceOf : public testing::TestWithParam<PipeRow> {};

TEST_P(PipeInPlaceOf, MakesACallWaitForItsWriter) {
    using std::chrono::milliseconds;
    const CTestRoot root;
    const char* path = GetParam().m_pPath;
    fs::remove(path);
    ASSERT_EQ(0, mkfifo(path, 0600));
    CPatientCall call("GetParameter");
    EXPECT_FALSE(call.HasEndedAfter(milliseconds(1000)));
    const int writer = open(path, O_RDWR | O_CLOEXEC);
    EXPECT_EQ(static_cast<ssize_t>(std::strlen(GetParam().m_pText)),
              write(writer, GetParam().m_pText, std::strlen(GetParam().m_pText)));
    // The lock file is held by the name of the pipe; a settings file ends where its writer goes.
    const bool isLock = path == string(KzmPaths::kLockFile);
    const bool hasEnded = isLock && call.HasEndedAfter(milliseconds(10000));
    close(writer);
    EXPECT_TRUE(hasEnded || call.HasEndedAfter(milliseconds(10000)));
}

const PipeRow kPipes[] = {
    {"LockFile", KzmPaths::kLockFile, ""},
    {"AgentConfig", KzmPaths::kAgentConfig, ""},
    {"AlertConfig", KzmPaths::kAlertConfig, ""},
};

INSTANTIATE_TEST_SUITE_P(Places, PipeInPlaceOf, testing::ValuesIn(kPipes), RowName<PipeRow>);

// ---- The settings files ----

struct FileRow {
    const char* name;
    const char* m_pPath;
    string (*m_pChanged)();
};
std::ostream& operator<<(std::ostream& out, const FileRow& row) {
    return out << row.name;
}

class SettingsFilePlace : public testing::TestWithParam<FileRow> {};

TEST_P(SettingsFilePlace, WithALinkHasTheFileThereWritten) {
    const CTestRoot root;
    const char* path = GetParam().m_pPath;
    fs::rename(path, Elsewhere());
    fs::create_symlink(Elsewhere(), path);
    CLoadedProvider provider;
    EXPECT_EQ(0U, provider.SetResult(ChangedConf()));
    EXPECT_TRUE(fs::is_symlink(path));
    EXPECT_EQ(GetParam().m_pChanged(), ReadFile(Elsewhere()));
}

TEST_P(SettingsFilePlace, WithALinkToAFileOfAnotherFormChangesNothingThere) {
    const CTestRoot root;
    WriteFile(Elsewhere(), "root:x:0:0:root:/root:/bin/bash\n");
    PutLink(GetParam().m_pPath);
    CLoadedProvider provider;
    EXPECT_EQ(MethodResult::kFailure, provider.SetResult(ChangedConf()));
    EXPECT_EQ("root:x:0:0:root:/root:/bin/bash\n", ReadFile(Elsewhere()));
}

const FileRow kFiles[] = {
    {"AgentConfig", KzmPaths::kAgentConfig, ChangedAgent},
    {"AlertConfig", KzmPaths::kAlertConfig, ChangedAlert},
};

INSTANTIATE_TEST_SUITE_P(Files, SettingsFilePlace, testing::ValuesIn(kFiles), RowName<FileRow>);

// A pipe holds the provider up between its opening of the file to read and to write.
TEST(SettingsFileFolder, WrittenByOthersLetsThemChooseTheFileThatIsOverwritten) {
    const CTestRoot root;
    WriteFile(Elsewhere(), "precious\n");
    fs::remove(KzmPaths::kAgentConfig);
    ASSERT_EQ(0, mkfifo(KzmPaths::kAgentConfig, 0600));
    std::thread other([] {
        std::ofstream pipe(KzmPaths::kAgentConfig);
        PutLink(KzmPaths::kAgentConfig);
        pipe << CTestRoot::kAgentConfig;
    });
    CLoadedProvider provider;
    EXPECT_EQ(0U, provider.SetResult(ChangedConf()));
    other.join();
    EXPECT_EQ(ChangedAgent(), ReadFile(Elsewhere()));
}

TEST(SettingsFileText, OfMegabytesInOneLineIsReadAndKept) {
    const CTestRoot root;
    const string line = string(4 << 20, '(') + "\n";
    root.SetAgentConfig(line + CTestRoot::kAgentConfig);
    root.SetAlertConfig(line + CTestRoot::kAlertConfig);
    CLoadedProvider provider;
    EXPECT_EQ(0U, provider.Result("GetParameter"));
    EXPECT_EQ(0U, provider.SetResult(ChangedConf()));
    EXPECT_TRUE(line + ChangedAgent() == ReadFile(KzmPaths::kAgentConfig));
    EXPECT_TRUE(line + ChangedAlert() == ReadFile(KzmPaths::kAlertConfig));
}

// ---- The device description ----

class DescriptionPlace : public testing::Test {
protected:
    // Writes a description whose commands leave this mark, and gives it to a stranger.
    void WriteForeign(const string& path) const {
        const string touch = "=/usr/bin/touch " + Mark() + "\n";
        WriteFile(path, "CheckInstall" + touch + "ServiceStop" + touch + "ServiceStart" + touch);
        if (geteuid() != 0) {
            GTEST_SKIP() << "only root can give files away";
        }
        ASSERT_EQ(0, chown(path.c_str(), kOtherOwner, kOtherOwner));
    }
    static string Mark() { return CTestRoot::Path("/mark"); }

    static void ExpectRefused() {
        CLoadedProvider provider;
        EXPECT_EQ(MethodResult::kFailure, provider.Result("GetParameter"));
        EXPECT_EQ(MethodResult::kFailure, provider.SetResult(ChangedConf()));
        EXPECT_FALSE(fs::exists(Mark()));
        EXPECT_EQ(CTestRoot::kAgentConfig, ReadFile(KzmPaths::kAgentConfig));
    }

    CTestRoot m_root;
};

TEST_F(DescriptionPlace, InAFolderThatAllWriteTakesNoFileOfAStranger) {
    fs::permissions(KzmPaths::kDeviceFolder, fs::perms(0777));
    fs::remove(DeviceDescription());
    ASSERT_NO_FATAL_FAILURE(WriteForeign(DeviceDescription()));
    if (!IsSkipped()) {
        ExpectRefused();
    }
}

TEST_F(DescriptionPlace, TakesNoFileOfAStrangerByALink) {
    ASSERT_NO_FATAL_FAILURE(WriteForeign(Elsewhere()));
    if (!IsSkipped()) {
        PutLink(DeviceDescription());
        ExpectRefused();
    }
}

// Whoever writes the folder chooses among all files that root owns and that have the form.
TEST_F(DescriptionPlace, TakesATrustedFileByALink) {
    fs::rename(DeviceDescription(), Elsewhere());
    PutLink(DeviceDescription());
    CLoadedProvider provider;
    EXPECT_EQ(0U, provider.Result("GetParameter"));
    EXPECT_EQ(std::vector<string>{"CheckInstall"}, m_root.VendorCalls());
}

// Exchanges the link in the place of a file for one to another file and back, again and again. It
// rests in between: a thread that wakes up gets its turn at once and anywhere in what another does,
// also where both share a processor.
class CExchanger {
public:
    CExchanger(string place, string first, string second)
        : m_sPlace(std::move(place)),
          m_thread([this, first, second] {
              for (bool isFirst = false; !m_bIsOver; isFirst = !isFirst) {
                  Put(isFirst ? first : second);
                  std::this_thread::sleep_for(std::chrono::microseconds(10));
              }
          }) {}
    ~CExchanger() {
        m_bIsOver = true;
        m_thread.join();
    }
    CExchanger(const CExchanger&) = delete;
    CExchanger& operator=(const CExchanger&) = delete;

    // How many exchanges there were so far.
    [[nodiscard]] int Count() const { return m_iCount; }

private:
    void Put(const string& target) {
        const string next = m_sPlace + ".next";
        fs::create_symlink(target, next);
        fs::rename(next, m_sPlace);
        ++m_iCount;
    }

    string m_sPlace;
    std::atomic<bool> m_bIsOver = false;
    std::atomic<int> m_iCount = 0;
    std::thread m_thread; // last: it uses the others
};

// Another exchanges a link to a trusted file for one to his own and back. Reading goes on until he
// had his turn during enough of the reads, however the two threads are scheduled.
TEST_F(DescriptionPlace, ThatIsExchangedMeanwhileIsTrustedOnlyForWhatWasRead) {
    using Clock = std::chrono::steady_clock;
    constexpr int kReads = 20000;
    constexpr int kExchangedReads = 500;
    ASSERT_NO_FATAL_FAILURE(WriteForeign(Elsewhere()));
    if (IsSkipped()) {
        return;
    }
    const string trusted = CTestRoot::Path("/trusted");
    fs::rename(DeviceDescription(), trusted);
    fs::create_symlink(trusted, DeviceDescription());
    const CExchanger other(DeviceDescription(), trusted, Elsewhere());
    int reads = 0;
    int exchanged = 0; // while they were read
    int taken = 0;
    int foreign = 0;
    const auto isEnough = [&] {
        return reads >= kReads && exchanged >= kExchangedReads && 0 < taken && taken < reads;
    };
    const Clock::time_point deadline = Clock::now() + std::chrono::seconds(20);
    while (!isEnough() && Clock::now() < deadline) {
        const int exchanges = other.Count();
        const auto description = CDeviceDescription::Read(DeviceDescription());
        exchanged += other.Count() != exchanges ? 1 : 0;
        ++reads;
        taken += description ? 1 : 0;
        foreign += description && description->m_commands.at("ServiceStop").at(1) == Mark() ? 1 : 0;
    }
    EXPECT_LE(kReads, reads);
    EXPECT_LE(kExchangedReads, exchanged) << "too little was exchanged meanwhile";
    EXPECT_LT(0, taken);
    EXPECT_GT(reads, taken) << "the stranger's file was never refused";
    EXPECT_EQ(0, foreign);
}

// ---- Shell characters in a vendor command ----

struct ShellRow {
    const char* name;
    string m_sArguments; // MARK stands for the path of a file that must not appear
};
std::ostream& operator<<(std::ostream& out, const ShellRow& row) {
    return out << row.m_sArguments;
}

class VendorCommandWith : public testing::TestWithParam<ShellRow> {};

TEST_P(VendorCommandWith, IsNotGivenToAShell) {
    const CTestRoot root;
    const string mark = CTestRoot::Path("/mark");
    string arguments = GetParam().m_sArguments;
    arguments.replace(arguments.find("MARK"), 4, mark);
    const string command = "=/bin/true " + arguments + "\n";
    WriteFile(DeviceDescription(),
              "CheckInstall" + command + "ServiceStop" + command + "ServiceStart" + command);
    CLoadedProvider provider;
    EXPECT_EQ(0U, provider.SetResult(ChangedConf()));
    EXPECT_FALSE(fs::exists(mark));
}

const ShellRow kShellRows[] = {
    {"Semicolon", "; touch MARK"},       {"And", "&& touch MARK"},
    {"Background", "& touch MARK"},      {"Pipe", "| tee MARK"},
    {"Redirection", "> MARK"},           {"Substitution", "$(touch MARK)"},
    {"Backquotes", "`touch MARK`"},      {"QuotedSubstitution", "\"$(touch MARK)\""},
    {"Variable", "${x:=$(touch MARK)}"},
};

INSTANTIATE_TEST_SUITE_P(Forms, VendorCommandWith, testing::ValuesIn(kShellRows),
                         RowName<ShellRow>);

} // namespace
