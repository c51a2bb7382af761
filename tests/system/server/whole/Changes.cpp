#include "tests/system/server/whole/Changes.h"

#include "KzmPaths.h"
#include "history/CCallerLock.h"
#include "tests/support/ProviderLockFile.h"
#include "tests/support/SampleConf.h"
#include "tests/system/server/whole/Conversation.h"

#include <gtest/gtest.h>

namespace changes {

Texts CommandsOfOne() {
    return {"CheckInstall", "ServiceStop", "ServiceStart"};
}

std::vector<history::CEntry> Kept() {
    const auto entries = history::List();
    EXPECT_TRUE(entries) << entries.error().m_text;
    return entries ? *entries : std::vector<history::CEntry>();
}

void ExpectUntouchedFiles() {
    EXPECT_EQ(CTestRoot::kAgentConfig, ReadFile(KzmPaths::kAgentConfig));
    EXPECT_EQ(CTestRoot::kAlertConfig, ReadFile(KzmPaths::kAlertConfig));
}

void ExpectChangedFiles() {
    EXPECT_EQ(ChangedAgent(), ReadFile(KzmPaths::kAgentConfig));
    EXPECT_EQ(ChangedAlert(), ReadFile(KzmPaths::kAlertConfig));
}

void ExpectFreeLocks() {
    EXPECT_TRUE(IsLockFree());
    EXPECT_TRUE(history::CCallerLock::Take(std::chrono::seconds(0)));
}

void ExpectUsable(const CWholeServer& server) {
    ExpectFreeLocks();
    CClient client = server.Connect();
    EXPECT_EQ("returned 0", conversation::Ask(&client, conversation::GetParameter()));
    EXPECT_EQ("returned 0", conversation::Ask(&client, conversation::SetParameter(ChangedConf())));
    ExpectChangedFiles();
    ExpectFreeLocks();
}

} // namespace changes
