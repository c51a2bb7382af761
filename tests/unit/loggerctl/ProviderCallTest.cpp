// Calls of a provider that answers as it should not, and changes that end on the way.

#include "loggerctl/agent/ProviderCall.h"

#include "loggerctl/agent/CService.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/SampleConf.h"

#include <gtest/gtest.h>

namespace {

using output::ExitCode;
using Texts = std::vector<std::string>;

agent::CProviderFiles Provider(const std::string& name) {
    return {std::string(TEST_PROVIDERS) + "/provider_" + name + ".so", CLASS_DEFINITIONS};
}

TEST(ReadSettings, TellsTheResultOfAProviderThatGivesNoReason) {
    const CTestRoot root;
    const auto conf = agent::ReadSettings(Provider("good"));
    ASSERT_FALSE(conf);
    EXPECT_EQ(conf.error().m_headline,
              "The settings cannot be read. The log-monitoring agent is not installed.");
    EXPECT_EQ(conf.error().m_reasons,
              Texts{"The provider gave no reason (method result 0x000000b0, call status "
                    "0x00000000). KZM_TRACE=15 shows what it does."});
    EXPECT_EQ(conf.error().m_code, ExitCode::NotInstalled);
}

TEST(ReadSettings, TellsWhatIsSafeToPrintOfAProviderThatCannotBeLoaded) {
    const CTestRoot root;
    const auto conf = agent::ReadSettings({"/no/such/\xFF.so", CLASS_DEFINITIONS});
    ASSERT_FALSE(conf);
    EXPECT_EQ(conf.error().m_code, ExitCode::NotLoaded);
    ASSERT_EQ(conf.error().m_reasons.size(), 1U);
    EXPECT_EQ(conf.error().m_reasons[0].rfind("/no/such/\\xFF.so: ", 0), 0U)
        << conf.error().m_reasons[0];
}

TEST(ReadSettings, RefusesAnAnswerWithoutSettings) {
    const CTestRoot root;
    const auto conf = agent::ReadSettings(Provider("succeeds"));
    ASSERT_FALSE(conf);
    EXPECT_EQ(conf.error().m_headline, "The provider's answer is not a complete set of settings.");
    EXPECT_EQ(conf.error().m_reasons,
              Texts{"Check that provider and tool are of the same version."});
    EXPECT_EQ(conf.error().m_code, ExitCode::Failure);
}

TEST(ChangeSettings, StartsNothingThatIsNotToBeStarted) {
    const CTestRoot root;
    const agent::CChangeSteps steps{[] { return output::Expected<void>(); }, [] { return false; }};
    const auto failure =
        agent::ChangeSettings({PROVIDER_LIBRARY, CLASS_DEFINITIONS}, ChangedConf(), steps);
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->m_stage, agent::Stage::StartFailed);
    EXPECT_EQ(root.VendorCalls().back(), "ServiceStop");
    EXPECT_EQ(ReadFile(CTestRoot::Path("/etc/opt/veltaro/ardenvale/agent.cfg")), ChangedAgent());
}

// ---- The service of an agent that nobody has described ----

TEST(ServiceWithoutDescription, FailsInOneWay) {
    const CTestRoot root;
    root.RemoveDeviceDescription();
    agent::CService service;
    const auto expectIt = [](const auto& answer) {
        ASSERT_FALSE(answer);
        EXPECT_EQ(answer.error().m_headline, "No.");
        EXPECT_EQ(answer.error().m_reasons,
                  Texts{agent::DescriptionFile() +
                        ": does not exist. Install the agent, or put the file back. Without it the "
                        "agent's service is not known."});
        EXPECT_EQ(answer.error().m_code, ExitCode::Failure);
    };
    expectIt(service.Check("No."));
    expectIt(service.CheckCommands("No."));
    expectIt(service.Stop("No."));
    expectIt(service.Start("No."));
    expectIt(service.AskState("No."));
    EXPECT_FALSE(service.FindState());
}

} // namespace
