// Method calls by the queue and the real worker, with the provider of this build.

#include "KzmPaths.h"
#include "history/CCallerLock.h"
#include "providerd/CWorkerProcess.h"
#include "providerd/ProcessTree.h"
#include "providerd/WorkMessages.h"
#include "serverbase/Frames.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/OutputOf.h"
#include "tests/support/SampleConf.h"
#include "tests/system/server/CVariable.h"
#include "tests/system/server/WorkerSupport.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <set>

namespace fs = std::filesystem;
using providerd::CCallQueue;
using providerd::CFinishedCall;
using providerd::CWorkerProcess;

namespace {

using Texts = std::vector<std::string>;

constexpr char kDone[] = "Done 0x00000000";
constexpr char kAgentFailed[] = "Done 0x80000001";

CLoggerConf SettingsOf(const CFinishedCall& finished) {
    const auto output = messages::DecodeObject(OutputOf(finished));
    EXPECT_NE(nullptr, output);
    return CLoggerConf(output.get());
}

TEST(Worker, ReadsTheSettings) {
    const CTestRoot root;
    CCallQueue queue(WorkerLimits());
    const CFinishedCall finished = queue.Run(GetCall());
    EXPECT_EQ(kDone, ResultOf(finished));
    const CLoggerConf read = SettingsOf(finished);
    EXPECT_EQ(0, read.m_iStatus);
    EXPECT_TRUE(SampleConf().Compare(&read));
    EXPECT_EQ("", finished.m_historyId);
    EXPECT_EQ(Texts{"CheckInstall"}, root.VendorCalls());
    EXPECT_FALSE(fs::exists(KzmPaths::kHistoryFolder));
    EXPECT_FALSE(fs::exists(KzmPaths::kCallerLock));
}

TEST(Worker, ChangesTheSettingsAndKeepsThoseBefore) {
    const CTestRoot root;
    CCallQueue queue(WorkerLimits());
    const CFinishedCall finished = queue.Run(SetCall());
    EXPECT_EQ(kDone, ResultOf(finished));
    ExpectChangedFiles();
    EXPECT_EQ((Texts{"CheckInstall", "ServiceStop", "ServiceStart"}), root.VendorCalls());

    const auto entries = history::List();
    ASSERT_TRUE(entries);
    ASSERT_EQ(1U, entries->size());
    const history::CEntry& entry = entries->front();
    EXPECT_EQ(finished.m_historyId, entry.m_id);
    EXPECT_EQ("SetParameter by a management client", entry.m_reason);
    EXPECT_EQ("changer", entry.m_origin.m_user);
    EXPECT_EQ("", entry.m_origin.m_sudoUser);
    EXPECT_EQ("2001:db8::1", entry.m_origin.m_from);
    const auto kept = history::Load(entry.m_id);
    ASSERT_TRUE(kept);
    EXPECT_EQ(CTestRoot::kAgentConfig, kept->m_files[0].m_text);
    EXPECT_EQ(CTestRoot::kAlertConfig, kept->m_files[1].m_text);
    ExpectUsable(queue);
}

TEST(Worker, TellsTheResultsOfTheMethods) {
    struct Row {
        int m_answers[3]; // of CheckInstall, ServiceStop, ServiceStart
        const char* m_result;
        bool m_isKept;
    };
    const Row rows[] = {{{1, 0, 0}, "Done 0x000000b0", false},
                        {{0, 7, 0}, kAgentFailed, true},
                        {{0, 0, 7}, kAgentFailed, true}};
    const CTestRoot root;
    CCallQueue queue(WorkerLimits());
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.m_answers));
        root.SetVendorAnswers(row.m_answers[0], row.m_answers[1], row.m_answers[2]);
        const CFinishedCall finished = queue.Run(SetCall());
        EXPECT_EQ(row.m_result, ResultOf(finished));
        EXPECT_EQ(row.m_isKept, !finished.m_historyId.empty());
    }
    root.SetVendorAnswers(0, 0, 0);
    ExpectUsable(queue);
}

// ---- What keeps a call from being made ----

// The call's result, with what was logged behind it. The root's path is left out.
std::string LoggedResult(CCallQueue& queue, const providerd::CMethodCall& call) {
    testing::internal::CaptureStderr();
    const std::string result = ResultOf(queue.Run(call));
    std::string log = testing::internal::GetCapturedStderr();
    const std::string root = CTestRoot::Path("");
    for (std::size_t at = log.find(root); at != std::string::npos; at = log.find(root)) {
        log.erase(at, root.size());
    }
    return result + "; " + log;
}

TEST(Worker, ChangesNothingThatCannotBeKept) {
    const CTestRoot root;
    CCallQueue queue(WorkerLimits());
    fs::create_directories(KzmPaths::kHistoryFolder);
    fs::permissions(KzmPaths::kHistoryFolder, fs::perms(0777));
    const std::string log = LoggedResult(queue, SetCall());
    EXPECT_EQ(0U, log.find("NotKept; The settings were not changed, for they cannot be kept in the "
                           "history: /var/opt/veltaro/kzm/logger/history: "))
        << log;
    ExpectUntouchedFiles();
    EXPECT_EQ(Texts{"CheckInstall"}, root.VendorCalls());
    fs::permissions(KzmPaths::kHistoryFolder, fs::perms(0700));
    ExpectUsable(queue);
}

// Whoever took the log has gone; the worker has something to say.
TEST(Worker, NeedsNobodyToTakeItsLog) {
    const CTestRoot root;
    std::array<int, 2> log{};
    ASSERT_EQ(0, pipe2(log.data(), O_CLOEXEC));
    close(log[0]);
    const int before = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0);
    const auto handler = signal(SIGPIPE, SIG_IGN);
    dup2(log[1], STDERR_FILENO);
    close(log[1]);
    {
        CCallQueue queue(WorkerLimits());
        fs::create_directories(KzmPaths::kHistoryFolder);
        fs::permissions(KzmPaths::kHistoryFolder, fs::perms(0777));
        EXPECT_EQ("NotKept", ResultOf(queue.Run(SetCall())));
        fs::permissions(KzmPaths::kHistoryFolder, fs::perms(0700));
        ExpectUsable(queue);
    }
    dup2(before, STDERR_FILENO);
    close(before);
    signal(SIGPIPE, handler);
}

TEST(Worker, ChangesNothingThatCannotBeRead) {
    const std::pair<void (*)(const std::string&), const char*> rows[] = {
        {[](const std::string& path) { ReplaceWithFolder(path); },
         "is a directory. Put the agent's file in its place.\n"},
        {[](const std::string& path) { fs::remove(path); },
         "does not exist. Install the agent, or put the file back.\n"}};
    for (const auto& [spoil, problem] : rows) {
        SCOPED_TRACE(problem);
        const CTestRoot root;
        CCallQueue queue(WorkerLimits());
        spoil(KzmPaths::kAgentConfig);
        EXPECT_EQ("NotKept; The settings were not changed, for they cannot be kept in the "
                  "history: /etc/opt/veltaro/ardenvale/agent.cfg: " +
                      std::string(problem),
                  LoggedResult(queue, SetCall()));
        EXPECT_EQ(Texts{"CheckInstall"}, root.VendorCalls());
        EXPECT_FALSE(fs::exists(KzmPaths::kHistoryFolder));
        fs::remove(KzmPaths::kAgentConfig);
        root.SetAgentConfig(CTestRoot::kAgentConfig);
        ExpectUsable(queue);
    }
}

TEST(Worker, WaitsForOthersWhoChangeTheSettings) {
    const CTestRoot root;
    const CVariable time("KZM_TEST_LOCK_TIME", "0");
    CCallQueue queue(WorkerLimits());
    {
        const auto lock = history::CCallerLock::Take(std::chrono::seconds(0));
        ASSERT_TRUE(lock);
        EXPECT_EQ("Failed; SetParameter was not called: another change of the settings is under "
                  "way, and did not end in time.\n",
                  LoggedResult(queue, SetCall()));
        EXPECT_EQ(Texts{}, root.VendorCalls());
        EXPECT_EQ(kDone, ResultOf(queue.Run(GetCall()))); // which does not wait
    }
    ExpectUsable(queue);
}

TEST(Worker, ChangesNothingWithoutTheCallersLock) {
    const CTestRoot root;
    CCallQueue queue(WorkerLimits());
    ReplaceWithFolder(KzmPaths::kCallerLock);
    EXPECT_EQ("Failed; SetParameter was not called: /var/opt/veltaro/kzm/logger/caller.lock: is "
              "not a regular file. Remove it: the lock file belongs there.\n",
              LoggedResult(queue, SetCall()));
    EXPECT_EQ(Texts{}, root.VendorCalls());
    fs::remove(KzmPaths::kCallerLock);
    ExpectUsable(queue);
}

TEST(Worker, RefusesParametersThatAreNoObject) {
    const CTestRoot root;
    CCallQueue queue(WorkerLimits());
    EXPECT_EQ("Failed; SetParameter: what came as its parameters is no object.\n",
              LoggedResult(queue, {"SetParameter", "x", {}}));
    EXPECT_EQ(Texts{}, root.VendorCalls());
    ExpectUsable(queue);
}

// ---- The provider's files ----

TEST(Worker, LoadsTheProviderAsSoonAsItCanBeLoaded) {
    const CTestRoot root;
    const std::string library = CTestRoot::Path("/provider.so");
    const CVariable provider("KZM_TEST_PROVIDER", library);
    CCallQueue queue(WorkerLimits());
    for (int i = 0; i < 2; ++i) {
        const std::string log = LoggedResult(queue, GetCall());
        EXPECT_EQ(0U, log.find("NotAvailable; The provider is not available: /provider.so: "))
            << log;
    }
    fs::create_symlink(PROVIDER_LIBRARY, library);
    ExpectUsable(queue);
}

TEST(Worker, LoadsTheProviderAnewWhenItsFilesChange) {
    const CTestRoot root;
    const std::string library = CTestRoot::Path("/provider.so");
    const CVariable provider("KZM_TEST_PROVIDER", library);
    fs::create_symlink(PROVIDER_LIBRARY, library);
    CCallQueue queue(WorkerLimits());
    EXPECT_EQ(kDone, ResultOf(queue.Run(GetCall())));
    const std::vector<pid_t> worker = providerd::ChildrenOf(getpid());

    root.RemoveDeviceDescription();
    EXPECT_EQ(kAgentFailed, ResultOf(queue.Run(GetCall())));
    root.SetVendorAnswers(1, 0, 0);
    EXPECT_EQ("Done 0x000000b0", ResultOf(queue.Run(GetCall())));
    root.SetVendorAnswers(0, 0, 0);
    EXPECT_EQ(kDone, ResultOf(queue.Run(GetCall())));
    fs::remove(library);
    fs::create_symlink(std::string(TEST_PROVIDERS) + "/provider_good.so", library);
    EXPECT_EQ("Done 0x000000b0", ResultOf(queue.Run(GetCall())));

    EXPECT_EQ(1U, worker.size());
    EXPECT_EQ(worker, providerd::ChildrenOf(getpid())); // it is still the same
}

TEST(Worker, DoesNotTrustAProviderThatBreaksTheRules) {
    struct Row {
        const char* m_provider;
        const char* m_method;
        const char* m_result;
    };
    const Row rows[] = {
        {"sets_no_status", "GetParameter",
         "Failed; GetParameter gave no answer (call status 0x80041001). The provider broke the "
         "rules of a method call: it returned without calling SetStatus.\n"},
        {"sets_status_twice", "GetParameter",
         "Failed; GetParameter gave no answer (call status 0x00000000). The provider broke the "
         "rules of a method call: it called SetStatus more than once.\n"},
        {"good", "NoMethod", "Failed; NoMethod gave no answer (call status 0x8004100c). \n"},
        {"indicates_nothing", "GetParameter",
         "Failed; GetParameter gave no answer (call status 0x00000000). The provider broke the "
         "rules of a method call: it reported success without delivering an output object.\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.m_provider);
        const CTestRoot root;
        const CVariable provider("KZM_TEST_PROVIDER", std::string(TEST_PROVIDERS) + "/provider_" +
                                                          row.m_provider + ".so");
        CCallQueue queue(WorkerLimits());
        EXPECT_EQ(row.m_result, LoggedResult(queue, {row.m_method, "", {}}));
    }
}

// ---- The program ----

std::set<std::string> DescriptorsOf(pid_t process) {
    std::set<std::string> files;
    for (const fs::directory_entry& entry :
         fs::directory_iterator("/proc/" + std::to_string(process) + "/fd")) {
        files.insert(entry.path().filename().string() + " " +
                     fs::read_symlink(entry.path()).string());
    }
    return files;
}

TEST(Worker, LeavesNoDescriptors) {
    const CTestRoot root;
    CCallQueue queue(WorkerLimits());
    ExpectUsable(queue);
    const std::vector<pid_t> worker = providerd::ChildrenOf(getpid());
    ASSERT_EQ(1U, worker.size());
    const std::set<std::string> before = DescriptorsOf(worker.front());
    for (int i = 0; i < 5; ++i) {
        ExpectUsable(queue);
    }
    EXPECT_EQ(before, DescriptorsOf(worker.front()));
}

TEST(Worker, StaysWhenTheTimeOfItsCallIsOver) {
    const CTestRoot root;
    std::string error;
    const auto worker = CWorkerProcess::Start(TEST_WORKER, &error);
    ASSERT_NE(nullptr, worker) << error;
    constexpr std::uint32_t kTime = 1000; // milliseconds
    const std::string request = Encode(providerd::CWorkRequest{"GetParameter", "", "", "", kTime});
    const providerd::Deadline over =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(kTime + 100);
    EXPECT_EQ(providerd::Transfer::Done, providerd::SendFrame(worker->Socket(), request, over));
    std::string answer;
    EXPECT_EQ(providerd::Transfer::Done, providerd::ReceiveFrame(worker->Socket(), &answer, over));
    EXPECT_FALSE(providerd::WaitHungUp(worker->Socket(), over));
}

TEST(Worker, IsNotStartedByHand) {
    testing::internal::CaptureStderr();
    const int status = std::system((std::string(TEST_WORKER) + " 3>&-").c_str());
    EXPECT_EQ("A worker is started by kzm-providerd alone.\n",
              testing::internal::GetCapturedStderr());
    EXPECT_EQ(1, WEXITSTATUS(status));
}

TEST(Worker, EndsWhenItIsSentNoRequest) {
    const std::string texts[] = {std::string("\1\0\0\0x", 5), std::string("\1\0\0\0", 4),
                                 "\xFF\xFF\xFF\xFF", "x"};
    for (const std::string& text : texts) {
        SCOPED_TRACE(testing::PrintToString(text));
        testing::internal::CaptureStderr();
        std::string error;
        const auto worker = CWorkerProcess::Start(TEST_WORKER, &error);
        ASSERT_NE(nullptr, worker) << error;
        EXPECT_EQ(static_cast<ssize_t>(text.size()),
                  send(worker->Socket(), text.data(), text.size(), 0));
        EXPECT_TRUE(worker->Finish(CWorkerProcess::End::ByItself));
        EXPECT_EQ("exit status 1", worker->Description());
        EXPECT_EQ("The worker was sent something that is no request.\n",
                  testing::internal::GetCapturedStderr());
    }
}

} // namespace
