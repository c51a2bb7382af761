// Properties of reading and writing that hold for every pair of files.

#include "tests/support/CTestRoot.h"
#include "tests/unit/settings/CRandomFiles.h"
#include "tests/unit/settings/RecordTest.h"

#include "KzmPaths.h"

#include <gtest/gtest.h>

namespace {

constexpr unsigned int kSeedsPerTest = 250;
constexpr unsigned int kSeeds = 2000;

class RoundTrip : public testing::TestWithParam<unsigned int> {
protected:
    void Install(const CRandomFiles& files) const {
        m_root.SetAgentConfig(files.Agent());
        m_root.SetAlertConfig(files.Alert());
    }

    // Writes the record: the files must then hold it, in the lines that they had.
    static void ExpectWritten(const CRandomFiles& files, const CLoggerConf& conf) {
        EXPECT_TRUE(conf.EditConfigFile(KzmPaths::kAgentConfig, KzmPaths::kAlertConfig));
        EXPECT_EQ(files.AgentWith(conf), ReadFile(KzmPaths::kAgentConfig));
        EXPECT_EQ(files.AlertWith(conf), ReadFile(KzmPaths::kAlertConfig));
    }

    static void ExpectReadBackEqual(const CLoggerConf& conf) {
        const CLoggerConf written = Load();
        EXPECT_EQ(0, written.m_iStatus);
        EXPECT_TRUE(conf.Compare(&written));
        EXPECT_TRUE(written.Compare(&conf));
    }

    static void Try(unsigned int seed, const RoundTrip& test) {
        CRandomFiles files(seed);
        test.m_root.SetMountOutput(files.MountOutput());
        test.Install(files);
        const CLoggerConf read = Load();
        ASSERT_EQ(0, read.m_iStatus) << files.Agent() << files.Alert();
        ExpectWritten(files, read);
        ExpectReadBackEqual(read);

        test.Install(files);
        const CLoggerConf asked = files.MakeConf();
        ExpectWritten(files, asked);
        ExpectReadBackEqual(asked);
        ExpectWritten(files, asked); // again: nothing changes any more
    }

    CTestRoot m_root;
};

TEST_P(RoundTrip, WhatIsWrittenReadsBackAndTheRestStays) {
    for (unsigned int seed = GetParam(); seed < GetParam() + kSeedsPerTest; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Try(seed, *this);
        if (HasFailure()) {
            break;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(FromSeed, RoundTrip, testing::Range(0U, kSeeds, kSeedsPerTest),
                         testing::PrintToStringParamName());

} // namespace
