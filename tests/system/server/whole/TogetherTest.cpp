// Many clients that call both methods at the same time.

#include "KzmPaths.h"
#include "tests/support/SampleConf.h"
#include "tests/system/server/whole/CGate.h"
#include "tests/system/server/whole/Changes.h"
#include "tests/system/server/whole/Conversation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <set>
#include <thread>

using namespace conversation;
using std::string;

namespace {

constexpr int kClients = 16;
constexpr int kRounds = 2;
constexpr std::size_t kCallsOfOne = 2 * kRounds;
constexpr int kFirstThreshold = 10;

// Of one client in one round; of no other.
int ThresholdOf(int client, int round) {
    return kFirstThreshold + client * kRounds + round;
}

// Calls both methods in turn, and adds what comes of it.
void CallBoth(const CWholeServer& server, int client, std::vector<string>* outcomes) {
    CClient connection =
        server.Connect(client % 2 == 0 ? CClient::Kind::Https : CClient::Kind::Http);
    for (int round = 0; round < kRounds; ++round) {
        CLoggerConf conf = ChangedConf();
        conf.m_UsageMonitorConf[CLoggerConf::kCpu].m_iThreshold = ThresholdOf(client, round);
        outcomes->push_back(Ask(&connection, SetParameter(conf)));
        outcomes->push_back(Ask(&connection, GetParameter(), "reader"));
    }
}

// The files as the change with one of the thresholds made them.
void ExpectFilesOfOneChange() {
    EXPECT_EQ(ChangedAgent(), ReadFile(KzmPaths::kAgentConfig));
    std::set<string> possible;
    for (int client = 0; client < kClients; ++client) {
        const int last = ThresholdOf(client, kRounds - 1);
        possible.insert(Replace(ChangedAlert(), "60, 5, 95", "60, 5, " + std::to_string(last)));
    }
    EXPECT_EQ(1U, possible.count(ReadFile(KzmPaths::kAlertConfig)))
        << ReadFile(KzmPaths::kAlertConfig);
}

TEST(Together, SixteenClientsAreAllAnswered) {
    CWholeServer server;
    std::vector<std::vector<string>> outcomes(kClients);
    std::vector<std::thread> clients;
    clients.reserve(kClients);
    for (int client = 0; client < kClients; ++client) {
        clients.emplace_back(CallBoth, std::cref(server), client,
                             &outcomes[static_cast<std::size_t>(client)]);
    }
    for (std::thread& client : clients) {
        client.join();
    }
    for (const auto& ofOne : outcomes) {
        EXPECT_EQ(changes::Texts(kCallsOfOne, "returned 0"), ofOne);
    }
    ExpectFilesOfOneChange();
    EXPECT_EQ(history::kKept, changes::Kept().size()) << "fewer than there were changes";
    const auto calls = server.Root().VendorCalls();
    for (const char* command : {"ServiceStop", "ServiceStart"}) {
        EXPECT_EQ(kClients * kRounds, std::count(calls.begin(), calls.end(), command)) << command;
    }
    changes::ExpectUsable(server);
}

// Below the history's limit, each change has its entry, and each entry is what another change left.
TEST(Together, EachChangeIsInTheHistory) {
    CWholeServer server;
    constexpr int kChanges = 16;
    std::vector<std::thread> clients;
    clients.reserve(kChanges);
    std::vector<string> outcomes(kChanges);
    for (int client = 0; client < kChanges; ++client) {
        clients.emplace_back([&server, &outcomes, client] {
            CLoggerConf conf = ChangedConf();
            conf.m_UsageMonitorConf[CLoggerConf::kCpu].m_iThreshold = ThresholdOf(client, 0);
            CClient connection = server.Connect();
            outcomes[static_cast<std::size_t>(client)] = Ask(&connection, SetParameter(conf));
        });
    }
    for (std::thread& client : clients) {
        client.join();
    }
    EXPECT_EQ(changes::Texts(kChanges, "returned 0"), outcomes);
    std::set<string> states = {ReadFile(KzmPaths::kAlertConfig)};
    for (const history::CEntry& entry : changes::Kept()) {
        states.insert(ReadFile(string(KzmPaths::kHistoryFolder) + "/" + entry.m_id + "/alert.cfg"));
    }
    EXPECT_EQ(kChanges + 1U, states.size()) << "one for each, and that of before";
    EXPECT_EQ(1U, states.count(CTestRoot::kAlertConfig));
}

// ---- With loggerctl ----

TEST(Together, LoggerctlShowsAndTakesBackAChange) {
    CWholeServer server;
    CClient client = server.Connect();
    EXPECT_EQ("returned 0", Ask(&client, SetParameter(ChangedConf())));
    const CProgram::Result listed = CProgram({"history"}).Run();
    for (const char* part : {"SetParameter by a management client", "changer", "127.0.0.1"}) {
        EXPECT_NE(string::npos, listed.m_sOutput.find(part)) << listed.m_sOutput;
    }
    const CProgram::Result restored = CProgram({"restore"}).Run();
    EXPECT_EQ(0, restored.m_iExitCode) << restored.m_sError;
    changes::ExpectUntouchedFiles();
    changes::ExpectUsable(server);
}

TEST(Together, NeitherLoggerctlNorAClientLosesAChange) {
    CWholeServer server;
    CClient client = server.Connect();
    const CGate gate;
    client.Send(Bytes(SetParameter(ChangedConf())));
    gate.Await();
    SetVendorScript("");
    auto tool = std::async(std::launch::async, [] {
        return CProgram({"set", "memory.threshold=53"}).Run();
    });
    EXPECT_EQ(std::future_status::timeout, tool.wait_for(std::chrono::milliseconds(200)))
        << "it did not wait";
    gate.Open();
    EXPECT_EQ("returned 0", OutcomeOf(client.Answer()));
    const CProgram::Result set = tool.get();
    EXPECT_EQ(0, set.m_iExitCode) << set.m_sError;
    EXPECT_EQ(ChangedAgent(), ReadFile(KzmPaths::kAgentConfig));
    EXPECT_EQ(Replace(ChangedAlert(), "30, 3, 85", "30, 3, 53"), ReadFile(KzmPaths::kAlertConfig));
    EXPECT_EQ(2U, changes::Kept().size());
}

} // namespace
