#include "tests/system/server/WorkerSupport.h"

#include "KzmPaths.h"
#include "history/CCallerLock.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/ProviderLockFile.h"
#include "tests/support/SampleConf.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>

using messages::CallResult;
using providerd::CCallQueue;
using providerd::CFinishedCall;
using providerd::CMethodCall;
using providerd::CQueueLimits;

namespace {

const char* NameOf(CallResult result) {
    switch (result) {
    case CallResult::Done:
        return "Done";
    case CallResult::NotAvailable:
        return "NotAvailable";
    case CallResult::NotKept:
        return "NotKept";
    case CallResult::TimedOut:
        return "TimedOut";
    case CallResult::Died:
        return "Died";
    case CallResult::Failed:
        return "Failed";
    default:
        return "another";
    }
}

} // namespace

CQueueLimits WorkerLimits() {
    CQueueLimits limits;
    limits.m_workerProgram = TEST_WORKER;
    return limits;
}

CMethodCall GetCall() {
    return {"GetParameter", "", {"reader", "", "192.0.2.1"}};
}

CMethodCall SetCall() {
    IWbemClassObject parameters;
    ChangedConf().ConvertToIWbemClassObject(&parameters);
    return {"SetParameter", messages::EncodeObject(parameters), {"changer", "", "2001:db8::1"}};
}

std::string ResultOf(const CFinishedCall& finished) {
    if (finished.m_result != CallResult::Done) {
        return NameOf(finished.m_result);
    }
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "Done 0x%08x", finished.m_uiReturnValue);
    return text.data();
}

void ExpectUsable(CCallQueue& queue) {
    EXPECT_TRUE(IsLockFree());
    EXPECT_TRUE(history::CCallerLock::Take(std::chrono::seconds(0)));
    EXPECT_EQ("Done 0x00000000", ResultOf(queue.Run(GetCall())));
    EXPECT_EQ("Done 0x00000000", ResultOf(queue.Run(SetCall())));
    ExpectChangedFiles();
    EXPECT_TRUE(IsLockFree());
    EXPECT_TRUE(history::CCallerLock::Take(std::chrono::seconds(0)));
}

void ExpectUntouchedFiles() {
    EXPECT_EQ(CTestRoot::kAgentConfig, ReadFile(KzmPaths::kAgentConfig));
    EXPECT_EQ(CTestRoot::kAlertConfig, ReadFile(KzmPaths::kAlertConfig));
}

void ExpectChangedFiles() {
    EXPECT_EQ(ChangedAgent(), ReadFile(KzmPaths::kAgentConfig));
    EXPECT_EQ(ChangedAlert(), ReadFile(KzmPaths::kAlertConfig));
}
