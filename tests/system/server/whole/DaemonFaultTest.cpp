// One of the daemons, or the client, that goes away in the midst of a call; a history that cannot
// be written; descriptors that are used up.

#include "KzmPaths.h"
#include "history/CDescriptor.h"
#include "tests/support/CProcessLimit.h"
#include "tests/support/ProcessMemory.h"
#include "tests/support/SampleConf.h"
#include "tests/system/server/CSubreaper.h"
#include "tests/system/server/Phases.h"
#include "tests/system/server/whole/CGate.h"
#include "tests/system/server/whole/Changes.h"
#include "tests/system/server/whole/Conversation.h"
#include "tests/unit/wbemd/operations/Requests.h"

#include <gtest/gtest.h>

#include <poll.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

namespace fs = std::filesystem;
using namespace conversation;
using std::string;

namespace {

constexpr int kPatience = 20000; // milliseconds

const char* const kAway = "503: The daemon that calls the provider cannot be reached. Try again "
                          "later.\n";
const char* const kSilent = "503: The daemon that calls the provider does not answer. Try again "
                            "later.\n";
const char* const kUnknown =
    "error 1: The daemon that calls the provider gave no answer in time. Whether the method was "
    "called is not known: read the settings before anything else.";
const char* const kKilled =
    "error 1: The provider ended in the middle of the call. A change may be "
    "half done: read the settings before anything else.";

class DaemonFault : public testing::Test {
protected:
    // One change was made, and is in the history with whoever asked for it.
    void ExpectOneChange() {
        EXPECT_EQ(changes::CommandsOfOne(), m_server.Root().VendorCalls());
        changes::ExpectChangedFiles();
        const auto kept = changes::Kept();
        ASSERT_EQ(1U, kept.size());
        EXPECT_EQ("SetParameter by a management client", kept[0].m_reason);
        EXPECT_EQ("changer", kept[0].m_origin.m_user);
        EXPECT_EQ("127.0.0.1", kept[0].m_origin.m_from);
    }

    // What the log says of the change at its end.
    string AwaitEndOfChange() {
        return m_server.Providerd().AwaitLogged("user=\"changer\" peer=\"127.0.0.1\" "
                                                "operation=\"SetParameter\" ");
    }

    // Between two calls. The worker is the daemon's only child, of whichever thread. It has gone,
    // its connection with it, when this returns.
    void KillWorker() {
        pid_t worker = 0;
        const string daemon = "/proc/" + std::to_string(m_server.Providerd().Id());
        for (const auto& thread : fs::directory_iterator(daemon + "/task")) {
            std::ifstream children(thread.path() / "children");
            pid_t child = 0;
            worker = children >> child ? child : worker;
        }
        ASSERT_GT(worker, 0);
        const history::CDescriptor ended(static_cast<int>(syscall(SYS_pidfd_open, worker, 0)));
        kill(worker, SIGKILL);
        pollfd polled{ended.Get(), POLLIN, 0};
        EXPECT_EQ(1, poll(&polled, 1, kPatience));
    }

    CWholeServer m_server;
};

TEST_F(DaemonFault, KilledProviderdLeavesTheChangeToItsWorker) {
    const CSubreaper subreaper;
    CClient client = m_server.Connect();
    {
        const CGate gate;
        client.Send(Bytes(SetParameter(ChangedConf())));
        gate.Await();
        m_server.Providerd().Signal(SIGKILL);
        EXPECT_EQ(128 + SIGKILL, m_server.Providerd().AwaitExit());
        EXPECT_EQ(kKilled, OutcomeOf(client.Answer()));
        CClient meanwhile = m_server.Connect();
        EXPECT_EQ(kAway, Ask(&meanwhile, GetParameter()));
        gate.Open();
        EXPECT_EQ(0, subreaper.AwaitChild()) << "the worker";
        ExpectOneChange();
    }
    m_server.StartProviderd();
    EXPECT_EQ("returned 0", Ask(&client, GetParameter())) << "on the same connection";
    changes::ExpectUsable(m_server);
}

// Stopped, it takes connections and answers nothing.
TEST_F(DaemonFault, AHungProviderdIsGivenUp) {
    m_server.Limit("CheckMilliseconds=200\n");
    CClient kept = m_server.Connect();
    m_server.Providerd().Signal(SIGSTOP);
    for (int i = 0; i < 3; ++i) {
        CClient client = m_server.Connect();
        EXPECT_EQ(kSilent, Ask(&client, SetParameter(ChangedConf())));
    }
    m_server.Providerd().Signal(SIGCONT);
    m_server.Limit("");
    EXPECT_EQ("returned 0", Ask(&kept, GetParameter())) << "it is found again";
    EXPECT_EQ(changes::Texts{"CheckInstall"}, m_server.Root().VendorCalls()) << "nothing else ran";
    changes::ExpectUsable(m_server);
}

TEST_F(DaemonFault, AHungProviderdGoesOnWithItsChange) {
    m_server.Limit("CallMilliseconds=200\n");
    CClient client = m_server.Connect();
    {
        const CGate gate;
        client.Send(Bytes(SetParameter(ChangedConf())));
        gate.Await();
        m_server.Providerd().Signal(SIGSTOP);
        EXPECT_EQ(kUnknown, OutcomeOf(client.Answer()));
        m_server.Providerd().Signal(SIGCONT);
        gate.Open();
        EXPECT_NE(string::npos, AwaitEndOfChange().find(" result=\"done\" return=0x00000000 "));
    }
    ExpectOneChange();
    m_server.Limit("");
    EXPECT_EQ("returned 0", Ask(&client, GetParameter())) << "on the same connection";
    changes::ExpectUsable(m_server);
}

TEST_F(DaemonFault, AWorkerThatDiedBetweenTwoCallsIsReplaced) {
    CClient client = m_server.Connect();
    EXPECT_EQ("returned 0", Ask(&client, GetParameter()));
    KillWorker();
    EXPECT_EQ("returned 0", Ask(&client, SetParameter(ChangedConf())));
    EXPECT_EQ(changes::Texts({"CheckInstall", "CheckInstall", "ServiceStop", "ServiceStart"}),
              m_server.Root().VendorCalls());
}

TEST_F(DaemonFault, KilledProviderdIsFoundAgain) {
    CClient client = m_server.Connect();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ("returned 0", Ask(&client, GetParameter()));
        m_server.Providerd().Signal(SIGKILL);
        m_server.Providerd().AwaitExit();
        m_server.StartProviderd();
    }
    EXPECT_EQ("returned 0", Ask(&client, SetParameter(ChangedConf())));
    EXPECT_EQ(changes::Texts({"CheckInstall", "CheckInstall", "CheckInstall", "CheckInstall",
                              "ServiceStop", "ServiceStart"}),
              m_server.Root().VendorCalls());
    changes::ExpectUsable(m_server);
}

TEST_F(DaemonFault, KilledFrontEndLeavesTheChangeToItsEnd) {
    {
        const CGate gate;
        CClient client = m_server.Connect(CClient::Kind::Http);
        client.Send(Bytes(SetParameter(ChangedConf())));
        gate.Await();
        m_server.FrontEnd().Signal(SIGKILL);
        EXPECT_TRUE(client.IsEnd());
        EXPECT_EQ(128 + SIGKILL, m_server.FrontEnd().AwaitEnd());
        gate.Open();
        EXPECT_NE(string::npos, AwaitEndOfChange().find(" result=\"done\" return=0x00000000 "));
    }
    ExpectOneChange();
    m_server.StartFrontEnd();
    changes::ExpectUsable(m_server);
}

TEST_F(DaemonFault, AChangeEndsWithoutItsClient) {
    for (const CClient::Kind kind : {CClient::Kind::Https, CClient::Kind::Http}) {
        const CGate gate;
        auto client = std::make_unique<CClient>(m_server.Connect(kind));
        client->Send(Bytes(SetParameter(ChangedConf())));
        gate.Await();
        client.reset();
        gate.Open();
        const string line = AwaitEndOfChange();
        EXPECT_NE(string::npos, line.find(" result=\"done\" return=0x00000000 ")) << line;
        EXPECT_EQ(" history=" + changes::Kept()[0].m_id, line.substr(line.rfind(' ')));
        if (kind == CClient::Kind::Https) {
            ExpectOneChange();
        }
    }
    EXPECT_EQ(2U, changes::Kept().size());
    changes::ExpectUsable(m_server);
}

TEST_F(DaemonFault, WhatHasBegunIsAnsweredWhenBothEnd) {
    CClient client = m_server.Connect();
    {
        const CGate gate;
        client.Send(Bytes(SetParameter(ChangedConf())));
        gate.Await();
        m_server.FrontEnd().Signal(SIGTERM);
        m_server.FrontEnd().AwaitLine("Ending");
        m_server.Providerd().Signal(SIGTERM);
        EXPECT_TRUE(m_server.Providerd().AwaitTold("STOPPING=1"));
        gate.Open();
        EXPECT_EQ("returned 0", OutcomeOf(client.Answer()));
        client.EndSending();
    }
    EXPECT_EQ(0, m_server.FrontEnd().AwaitEnd());
    EXPECT_EQ(0, m_server.Providerd().AwaitExit());
    ExpectOneChange();
}

// ---- The history ----

const char* const kNotKept = "error 1: Nothing was changed, because the present settings could not "
                             "be kept in the history. The log of the server says why.";

class HistoryFault : public DaemonFault {
protected:
    // A change is refused before anything is touched; reading goes on.
    void ExpectRefusedChange(const string& logged) {
        CClient client = m_server.Connect();
        EXPECT_EQ(kNotKept, Ask(&client, SetParameter(ChangedConf())));
        EXPECT_NE("", m_server.Providerd().AwaitLogged(logged));
        changes::ExpectUntouchedFiles();
        EXPECT_EQ(changes::Texts{"CheckInstall"}, m_server.Root().VendorCalls());
        changes::ExpectFreeLocks();
        EXPECT_EQ("returned 0", Ask(&client, GetParameter()));
    }
};

TEST_F(HistoryFault, OneThatOthersMayWriteIsNotUsed) {
    fs::create_directories(KzmPaths::kHistoryFolder);
    chmod(KzmPaths::kHistoryFolder, 0777);
    ExpectRefusedChange("they cannot be kept in the history");
    EXPECT_TRUE(fs::is_empty(KzmPaths::kHistoryFolder));
    chmod(KzmPaths::kHistoryFolder, 0700);
    changes::ExpectUsable(m_server);
}

TEST_F(HistoryFault, ALinkIsNotFollowed) {
    const string elsewhere = CTestRoot::Path("/elsewhere");
    fs::create_directory(elsewhere);
    fs::create_symlink(elsewhere, KzmPaths::kHistoryFolder);
    ExpectRefusedChange("they cannot be kept in the history");
    EXPECT_TRUE(fs::is_empty(elsewhere));
    fs::remove(KzmPaths::kHistoryFolder);
    changes::ExpectUsable(m_server);
}

TEST_F(HistoryFault, AFullOneTakesNoChange) {
    fs::create_directories(KzmPaths::kHistoryFolder);
    // Room for the folder itself.
    if (mount("history", KzmPaths::kHistoryFolder, "tmpfs", 0, "nr_inodes=1,mode=0700") != 0) {
        GTEST_SKIP() << "no file system can be mounted here";
    }
    ExpectRefusedChange("they cannot be kept in the history");
    EXPECT_EQ(0, umount(KzmPaths::kHistoryFolder));
    changes::ExpectUsable(m_server);
}

// ---- Logs ----

// Whoever took them has gone. The worker has the log of the daemon, and something to say.
TEST_F(DaemonFault, NobodyIsNeededToTakeTheirLogs) {
    m_server.Providerd().CloseLog();
    m_server.FrontEnd().CloseLog();
    CClient client = m_server.Connect();
    EXPECT_EQ("returned 0", Ask(&client, GetParameter()));
    EXPECT_EQ(0U, Ask(&client, GetParameter(), "changer", "wrong").find("401"));
    fs::create_directories(KzmPaths::kHistoryFolder);
    chmod(KzmPaths::kHistoryFolder, 0777);
    EXPECT_EQ(kNotKept, Ask(&client, SetParameter(ChangedConf())));
    chmod(KzmPaths::kHistoryFolder, 0700);
    CServerProcess::SetConfiguration("Unknown=1\n");
    m_server.FrontEnd().Signal(SIGHUP);
    m_server.Providerd().Signal(SIGHUP);
    changes::ExpectUsable(m_server);
}

// ---- Limits ----

TEST_F(DaemonFault, AFrontEndWithoutDescriptorsGoesOn) {
#ifdef KZM_NO_FAULT_TRANSLATION
    GTEST_SKIP() << "the sanitizers look at objects by descriptors of their own";
#endif
    CClient client = m_server.Connect();
    EXPECT_EQ("returned 0", Ask(&client, GetParameter()));
    std::unique_ptr<CClient> waiting;
    {
        const CProcessLimit none(m_server.FrontEnd().Id(), RLIMIT_NOFILE, 3);
        EXPECT_EQ("returned 0", Ask(&client, GetParameter())) << "with what it has";
        m_server.Providerd().Signal(SIGKILL);
        m_server.Providerd().AwaitExit();
        m_server.StartProviderd();
        EXPECT_EQ(kAway, Ask(&client, GetParameter()));
        waiting = std::make_unique<CClient>(m_server.Connect(CClient::Kind::Http));
        waiting->Send(Bytes(GetParameter()));
        m_server.FrontEnd().AwaitLine("cannot be taken for now");
    }
    EXPECT_EQ("returned 0", OutcomeOf(waiting->Answer()));
    changes::ExpectUsable(m_server);
}

TEST_F(DaemonFault, AProviderdWithoutDescriptorsGoesOn) {
#ifdef KZM_NO_FAULT_TRANSLATION
    GTEST_SKIP() << "the sanitizers look at objects by descriptors of their own";
#endif
    CClient client = m_server.Connect();
    EXPECT_EQ("returned 0", Ask(&client, GetParameter()));
    {
        const CProcessLimit none(m_server.Providerd().Id(), RLIMIT_NOFILE, 3);
        EXPECT_EQ("returned 0", Ask(&client, GetParameter())) << "with what it has";
        KillWorker();
        EXPECT_EQ("error 1: The server failed. Its log says why.", Ask(&client, GetParameter()));
        EXPECT_NE("", m_server.Providerd().AwaitLogged("No worker can be started"));
    }
    changes::ExpectUsable(m_server);
}

// Its unit gives it twice as much.
TEST_F(DaemonFault, TheGreatestRequestsLeaveTheFrontEndItsMemory) {
#ifdef KZM_NO_FAULT_TRANSLATION
    GTEST_SKIP() << "the sanitizers take memory of their own";
#endif
    constexpr std::size_t kMiB = std::size_t{1} << 20;
    constexpr std::size_t kGreatest = 16 * kMiB;
    constexpr int kTogether = 4;
    CRequestText request = GetParameter();
    request.m_body.reserve(kGreatest);
    const std::size_t end = request.m_body.rfind("</CIM>");
    string filling;
    while (request.m_body.size() + filling.size() + 9 <= kGreatest) {
        filling += "<a b=''/>";
    }
    request.m_body.insert(end, filling);
    std::vector<CClient> clients;
    clients.reserve(kTogether);
    for (int i = 0; i < kTogether; ++i) {
        clients.push_back(m_server.Connect());
    }
    std::vector<std::thread> threads;
    threads.reserve(clients.size());
    for (CClient& client : clients) {
        threads.emplace_back([&client, bytes = Bytes(request, "guest")] { client.Send(bytes); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (CClient& client : clients) {
        EXPECT_EQ(0U, OutcomeOf(client.Answer()).find("400 request-not-valid: "));
    }
    EXPECT_LT(MemoryOf(m_server.FrontEnd().Id(), "VmHWM"), 256 * kMiB);
    changes::ExpectUsable(m_server);
}

TEST_F(DaemonFault, ConnectionsLeaveNoDescriptorsBehind) {
    constexpr rlim_t kFew = 48;
    constexpr int kMany = 100;
    const CProcessLimit frontEnd(m_server.FrontEnd().Id(), RLIMIT_NOFILE, kFew);
    const CProcessLimit providerd(m_server.Providerd().Id(), RLIMIT_NOFILE, kFew);
    for (int i = 0; i < kMany; ++i) {
        m_server.Connect().Send(Bytes(requests::GetClass())); // and gone
        CClient client = m_server.Connect(CClient::Kind::Http);
        client.Send(Bytes(requests::GetClass()));
        EXPECT_EQ(0U, client.Answer().find("HTTP/1.1 200 ")) << i;
    }
    changes::ExpectUsable(m_server);
}

TEST(FullQueue, RefusesOneAndServesTheRest) {
    CWholeServer server(string(CDoor::kConfiguration) + "WaitingCalls=1\n");
    std::vector<CClient> clients;
    clients.reserve(3);
    for (int i = 0; i < 3; ++i) {
        clients.push_back(server.Connect());
    }
    std::vector<string> outcomes;
    outcomes.reserve(clients.size());
    {
        const CGate gate;
        clients[0].Send(Bytes(SetParameter(ChangedConf())));
        gate.Await();
        // One of the two waits, the other one is refused at once.
        clients[1].Send(Bytes(SetParameter(ChangedConf())));
        clients[2].Send(Bytes(SetParameter(ChangedConf())));
        EXPECT_NE("", server.Providerd().AwaitLogged("result=\"too many calls wait\""));
        SetVendorScript("");
        gate.Open();
        for (CClient& client : clients) {
            outcomes.push_back(OutcomeOf(client.Answer()));
        }
    }
    std::sort(outcomes.begin(), outcomes.end());
    EXPECT_EQ((changes::Texts{"error 1: Too many calls wait for the provider. Try again later.",
                              "returned 0", "returned 0"}),
              outcomes);
    EXPECT_EQ(2U, changes::Kept().size());
}

} // namespace
