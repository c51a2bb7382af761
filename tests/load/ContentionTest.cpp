// Many processes, each with several provider objects, that read and write one host's settings at
// the same time. Whole: 50 processes of 20 calls each.

#include "tests/load/CWatchedAgent.h"
#include "tests/load/CallFigures.h"
#include "tests/load/CallingProcesses.h"
#include "tests/load/NumberedConf.h"
#include "tests/support/ProviderLockFile.h"
#include "tests/support/TableTest.h"
#include "tests/support/WholeRun.h"

#include "KzmPaths.h"
#include "provider/MethodResult.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>

using std::string;
using Notes = std::vector<CWatchedAgent::Note>;

namespace {

// Giving up takes 30 tries, one second apart; the rest is for a busy machine.
constexpr double kLeastSecondsOfGivingUp = 29.9;
constexpr double kMostSecondsOfGivingUp = 40;

struct Scale {
    int processes;
    int callsPerObject;
};

constexpr std::chrono::seconds kBetweenTries{1};

struct Arrival {
    string name;
    std::chrono::milliseconds spread; // the first calls begin evenly over this time
    Scale ordinary;
};

std::ostream& operator<<(std::ostream& out, const Arrival& arrival) {
    return out << arrival.name;
}

class Contention : public testing::TestWithParam<Arrival> {
protected:
    static Scale ScaleOfRun() { return IsWholeRun() ? Scale{50, 10} : GetParam().ordinary; }
};

// ---- What must hold afterwards ----

void ExpectDocumentedAnswers(const std::vector<CallEntry>& calls) {
    for (const CallEntry& call : calls) {
        ASSERT_TRUE(call.m_bIsDone);
        if (call.m_uiResult != MethodResult::kSuccess) {
            ASSERT_EQ(MethodResult::kFailure, call.m_uiResult);
            ASSERT_LE(kLeastSecondsOfGivingUp, call.Seconds());
            ASSERT_GE(kMostSecondsOfGivingUp, call.Seconds());
        }
    }
}

// The settings in the order in which they stood in the files, by number: each with its place. Every
// writer had the files for itself, found what the one before had left, and left its own settings.
std::map<int, int> PlacesOf(const Notes& notes) {
    std::map<int, int> places{{kFirstNumber, 0}};
    string files = NumberedAgent(kFirstNumber) + NumberedAlert(kFirstNumber);
    for (std::size_t i = 0; i < notes.size() && !testing::Test::HasFailure(); ++i) {
        const bool isStop = i % 2 == 0;
        EXPECT_EQ(isStop ? CWatchedAgent::kStop : CWatchedAgent::kStart, notes[i].m_sCommand);
        if (isStop) {
            EXPECT_EQ(files, notes[i].m_sFiles);
            continue;
        }
        files = notes[i].m_sFiles;
        const int number = NumberOfFiles(files);
        EXPECT_NE(0, number) << "torn files:\n" << files;
        EXPECT_TRUE(places.emplace(number, places.size()).second) << number << " stood twice";
    }
    EXPECT_EQ(files, ReadFile(KzmPaths::kAgentConfig) + ReadFile(KzmPaths::kAlertConfig));
    return places;
}

// Every write stands in the files once, unless it gave up, and every answer is a whole record that
// stood there.
void ExpectWholeRecords(const std::vector<CallEntry>& calls, const std::map<int, int>& places) {
    std::size_t writes = 0;
    for (const CallEntry& call : calls) {
        const bool isGood = call.m_uiResult == MethodResult::kSuccess;
        if (isGood || call.m_bIsWrite) {
            ASSERT_EQ(isGood ? 1U : 0U, places.count(call.m_iNumber)) << call.m_iNumber;
        }
        writes += isGood && call.m_bIsWrite ? 1 : 0;
    }
    EXPECT_EQ(writes + 1, places.size());
}

// A call that begins after another has ended sees or leaves the same settings as it, or later ones.
void ExpectOrderOfTime(std::vector<CallEntry> calls, const std::map<int, int>& places) {
    const auto isBad = [](const CallEntry& call) { return call.m_uiResult != 0; };
    calls.erase(std::remove_if(calls.begin(), calls.end(), isBad), calls.end());
    for (const CallEntry& first : calls) {
        for (const CallEntry& second : calls) {
            if (first.m_end < second.m_begin) {
                ASSERT_LE(places.at(first.m_iNumber), places.at(second.m_iNumber));
            }
        }
    }
}

TEST_P(Contention, CallersNeverSeeOrLeaveTornSettings) {
    const CTestRoot root;
    const CWatchedAgent agent(root);
    root.SetAgentConfig(NumberedAgent(kFirstNumber));
    root.SetAlertConfig(NumberedAlert(kFirstNumber));
    const Scale scale = ScaleOfRun();
    const int callers = scale.processes * kObjectsPerProcess;
    const CSharedCalls calls(callers, scale.callsPerObject);

    RunCallingProcesses(scale.processes, calls, GetParam().spread);

    ASSERT_NO_FATAL_FAILURE(ExpectDocumentedAnswers(calls.All()));
    const std::map<int, int> places = PlacesOf(agent.Notes());
    ExpectWholeRecords(calls.All(), places);
    if (!HasFailure()) {
        ExpectOrderOfTime(calls.All(), places);
    }
    EXPECT_TRUE(IsLockFree());
    std::puts(CallFigures(calls, callers, scale.processes).c_str());
}

// Callers that begin together go on trying in step: between their tries the lock lies idle.
INSTANTIATE_TEST_SUITE_P(Callers, Contention,
                         testing::Values(Arrival{"SpreadOverOneTry", kBetweenTries, {8, 8}},
                                         Arrival{"AllAtOnce", kBetweenTries * 0, {3, 3}}),
                         RowName<Arrival>);

} // namespace
