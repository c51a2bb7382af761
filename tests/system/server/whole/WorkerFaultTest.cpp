// A worker that dies, hangs or throws in the midst of a call of a management client.

#include "tests/support/SampleConf.h"
#include "tests/support/WholeRun.h"
#include "tests/system/server/Phases.h"
#include "tests/system/server/whole/Changes.h"
#include "tests/system/server/whole/Conversation.h"

#include <gtest/gtest.h>

using namespace conversation;
using std::string;

namespace {

CRequestText CallIn(const CPhase& phase) {
    return string(phase.m_method) == "GetParameter" ? GetParameter() : SetParameter(ChangedConf());
}

const char* const kDied = "error 1: The provider ended in the middle of the call. A change may be "
                          "half done: read the settings before anything else.";
const char* const kTooLong = "error 1: The method took too long and was given up. A change may be "
                             "half done: read the settings before anything else.";

class WorkerIn : public testing::TestWithParam<CPhase> {
protected:
    // The call is made once, has come as far as the phase, and the next ones succeed. The log names
    // the copy that was kept before.
    static void ExpectStoppedThere(CWholeServer* server, const string& result) {
        const string line = server->Providerd().AwaitLogged(
            "operation=\"" + string(GetParam().m_method) + "\" result=\"" + result + "\" ms=");
        const auto kept = changes::Kept();
        const std::size_t history = line.find(" history=");
        EXPECT_EQ(kept.empty() ? "" : " history=" + kept.front().m_id,
                  history == string::npos ? "" : line.substr(history))
            << line;
        EXPECT_EQ(GetParam().m_calls, server->Root().VendorCalls());
        if (GetParam().m_isWritten) {
            changes::ExpectChangedFiles();
        } else {
            changes::ExpectUntouchedFiles();
        }
        const bool isKept = GetParam().m_isWritten || string(GetParam().m_name) == "Stop";
        EXPECT_EQ(isKept ? 1U : 0U, changes::Kept().size());
        changes::ExpectUsable(*server);
    }
};

TEST_P(WorkerIn, DiesAndTheNextCallIsMade) {
    CWholeServer server;
    DoOnceInPhase(GetParam(), FindHostIn(GetParam()) +
                                  "kill -9 $host; while kill -0 $host; do :; done; exit 0");
    CClient client = server.Connect();
    EXPECT_EQ(kDied, Ask(&client, CallIn(GetParam())));
    ExpectStoppedThere(&server, "worker died");
    EXPECT_EQ("returned 0", Ask(&client, GetParameter())) << "on the same connection";
}

TEST_P(WorkerIn, HangsAndTheNextCallIsMade) {
    const bool isOrdinary = string(GetParam().m_name) == "MountBehindTheStop";
    if (!isOrdinary && !IsWholeRun()) {
        GTEST_SKIP() << "ten seconds for each of these are for a whole run";
    }
    CWholeServer server(string(CDoor::kConfiguration) + "CallTimeoutSeconds=10\n");
    DoOnceInPhase(GetParam(), Hanging());
    CClient client = server.Connect();
    client.Send(Bytes(CallIn(GetParam())));
    ASSERT_NE("", server.Providerd().AwaitLogged("took longer than 10000 ms"));
    EXPECT_EQ(kTooLong, OutcomeOf(client.Answer()));
    AwaitEndOfHanging();
    ExpectStoppedThere(&server, "timed out");
}

INSTANTIATE_TEST_SUITE_P(Each, WorkerIn, testing::ValuesIn(Phases()),
                         [](const auto& phase) { return phase.param.m_name; });

class WorkerWithoutMemoryIn : public testing::TestWithParam<CPhase> {};

TEST_P(WorkerWithoutMemoryIn, ThrowsAndIsReplaced) {
#ifdef KZM_NO_FAULT_TRANSLATION
    GTEST_SKIP() << "the sanitizers need more memory than there is";
#endif
    CWholeServer server;
    DoOnceInPhase(GetParam(), FindHostIn(GetParam()) +
                                  "read -r pages rest < /proc/$host/statm; "
                                  "prlimit --as=$((pages * 4096 + 20000000)) --pid $host; "
                                  "exec seq -f '/dev/sda on /%.0f type ext4 (rw)' 100000000");
    CClient client = server.Connect();
    EXPECT_EQ("returned 2147483650", Ask(&client, CallIn(GetParam())));
    EXPECT_NE("", server.Providerd().AwaitLogged("ended with an exception; the worker is"));
    changes::ExpectUsable(server);
}

std::vector<CPhase> PhasesOfTheMountCommand() {
    std::vector<CPhase> phases;
    for (const CPhase& phase : Phases()) {
        if (phase.m_command == nullptr) {
            phases.push_back(phase);
        }
    }
    return phases;
}

INSTANTIATE_TEST_SUITE_P(Each, WorkerWithoutMemoryIn, testing::ValuesIn(PhasesOfTheMountCommand()),
                         [](const auto& phase) { return phase.param.m_name; });

} // namespace
