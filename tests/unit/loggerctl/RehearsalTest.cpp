#include "loggerctl/record/Rehearsal.h"

#include "KzmPaths.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/SampleConf.h"
#include "tests/unit/history/SettingsNow.h"

#include <gtest/gtest.h>

namespace {

using Texts = std::vector<std::string>;

Texts TextsOf(const std::vector<CTraceUtility::Line>& lines) {
    Texts texts;
    for (const CTraceUtility::Line& line : lines) {
        texts.push_back(line.m_sText);
    }
    return texts;
}

// The only row of the record has this name.
CLoggerConf WithVolume(const std::string& name, int threshold, bool enable) {
    CLoggerConf conf = SampleConf();
    conf.m_FsUsageMonitorConf.m_FsThresholdConfList = {{name, threshold, enable}};
    return conf;
}

TEST(Rehearsal, GivesTheFilesThatTheProviderWouldWrite) {
    const CTestRoot root;
    const history::CSettingsCopy present = Now();
    const record::CRehearsal rehearsal = record::CRehearsal::Run(ChangedConf(), present);
    EXPECT_TRUE(rehearsal.m_good);
    EXPECT_EQ(rehearsal.m_files.m_files[0].m_text, ChangedAgent());
    EXPECT_EQ(rehearsal.m_files.m_files[1].m_text, ChangedAlert());
    EXPECT_EQ(rehearsal.m_files.m_files[1].m_mode, present.m_files[1].m_mode);
    EXPECT_TRUE(ChangedConf().Compare(&rehearsal.m_wanted));
    EXPECT_TRUE(ChangedConf().Compare(&rehearsal.m_readBack));
    EXPECT_EQ(TextsOf(rehearsal.m_lines), Texts{});
    EXPECT_EQ(rehearsal.NameProblems(), Texts{});
    EXPECT_TRUE(Now().HasSameTexts(present));
    EXPECT_EQ(root.VendorCalls(), Texts{});
}

TEST(FindRefusal, TellsFaultsOfTheHostFromThoseOfTheFiles) {
    const CTestRoot root;
    EXPECT_TRUE(record::FindRefusal(Now()).empty());
    root.SetAgentConfig("nothing\n");
    EXPECT_FALSE(record::FindRefusal(Now()).empty());
    EXPECT_FALSE(record::IsFaultOfHost(record::FindRefusal(Now())));
    root.SetAgentConfig(CTestRoot::kAgentConfig);
    for (const char* line :
         {"CLoggerConf::CLoggerConf agent.cfg open error",
          "CLoggerFsUsageMonitorConf::CLoggerFsUsageMonitorConf GetMountPointList() failure"}) {
        EXPECT_TRUE(record::IsFaultOfHost({{"", CTraceUtility::TRACE_DBG_FAILURE, line}})) << line;
    }
}

TEST(Rehearsal, PutsTheRequestRight) {
    const CTestRoot root;
    CLoggerConf request = SampleConf();
    request.m_FsUsageMonitorConf.m_bMonitoringEnable = false;
    request.m_FsUsageMonitorConf.m_FsThresholdConfList.back().m_iThreshold = 0;
    const record::CRehearsal rehearsal = record::CRehearsal::Run(request, Now());
    EXPECT_TRUE(rehearsal.m_good);
    for (const CLoggerFsThresholdConf& row :
         rehearsal.m_wanted.m_FsUsageMonitorConf.m_FsThresholdConfList) {
        EXPECT_FALSE(row.m_bVolMonitoringEnable) << row.m_sVolumeName;
    }
    EXPECT_EQ(rehearsal.m_wanted.m_FsUsageMonitorConf.m_FsThresholdConfList.back().m_iThreshold,
              80);
}

TEST(Rehearsal, FindsFilesThatCannotBeEdited) {
    const CTestRoot root;
    root.SetAgentConfig("WarningAlert=yes\n");
    const history::CSettingsCopy present = Now();
    const record::CRehearsal rehearsal = record::CRehearsal::Run(SampleConf(), present);
    EXPECT_FALSE(rehearsal.m_good);
    EXPECT_EQ(TextsOf(rehearsal.m_lines), Texts{"CLoggerConf::EditConfigFile() EditAgent failure"});
    EXPECT_TRUE(rehearsal.m_files.HasSameTexts(present));
    EXPECT_EQ(rehearsal.NameProblems(), Texts{});
}

TEST(Rehearsal, FindsWhatIsReadBackOtherwise) {
    const CTestRoot root;
    root.SetAlertConfig(std::string(CTestRoot::kAlertConfig) + "CPU=(True, 1, 2, 3)\n");
    CLoggerConf request = SampleConf();
    EXPECT_TRUE(record::CRehearsal::Run(request, Now()).m_good); // all lines are given the same
    root.SetAgentConfig(
        Replace(CTestRoot::kAgentConfig, "SyslogOutput=True", "True SyslogOutput=True"));
    request.m_SyslogOutputConf.m_bSyslogOutput = false;
    const record::CRehearsal rehearsal = record::CRehearsal::Run(request, Now());
    EXPECT_FALSE(rehearsal.m_good);
    EXPECT_EQ(TextsOf(rehearsal.m_lines),
              (Texts{"CLoggerSyslogOutputConf::Compare SyslogOutput not same. SyslogOutput1=0 "
                     "SyslogOutput2=1",
                     "CLoggerConf::Compare SyslogOutputConf not same."}));
}

constexpr char kEnd[] = ". Leave it not monitored, with the threshold 80.";

TEST(Rehearsal, NamesWhatAlertConfigCannotHold) {
    const CTestRoot root;
    for (const auto& [name, escaped, part] :
         {std::tuple("/a\"b", "/a\"b", "a double quote, which ends a name there"),
          std::tuple("/a#KZM# ", "/a#KZM# ",
                     "\"#KZM# \", which marks a file system as not monitored there")}) {
        SCOPED_TRACE(name);
        root.SetMountOutput("x on " + std::string(name) + " type ext4\n");
        const record::CRehearsal rehearsal =
            record::CRehearsal::Run(WithVolume(name, 90, true), Now());
        EXPECT_FALSE(rehearsal.m_good);
        EXPECT_EQ(rehearsal.NameProblems(),
                  Texts{std::string("alert.cfg cannot hold the file system '") + escaped +
                        "': its name has " + part + kEnd});
        // One that nobody ever set gets no line.
        EXPECT_TRUE(record::CRehearsal::Run(WithVolume(name, 80, false), Now()).m_good);
    }
    // A line feed never comes from the mount command, but can from a request.
    EXPECT_EQ(record::CRehearsal::Run(WithVolume("/a\nb", 90, true), Now()).NameProblems(),
              Texts{std::string("alert.cfg cannot hold the file system '/a\\x0Ab': its name has a "
                                "line feed, which ends a line there") +
                    kEnd});
}

TEST(Rehearsal, NamesNoFileSystemThatNeedsNoEntry) {
    const CTestRoot root;
    root.SetMountOutput("x on /a\"b type ext4\nx on /c\"d type ext4\n");
    CLoggerConf request = WithVolume("/a\"b", 90, true);
    request.m_FsUsageMonitorConf.m_FsThresholdConfList.emplace_back("/c\"d", 80, false);
    const Texts problems = record::CRehearsal::Run(request, Now()).NameProblems();
    ASSERT_EQ(problems.size(), 1U);
    EXPECT_NE(problems.front().find("'/a\"b'"), std::string::npos) << problems.front();
}

TEST(FindRefusal, TellsWhyACopyCannotBeRead) {
    const CTestRoot root;
    history::CSettingsCopy copy = Now();
    EXPECT_EQ(TextsOf(record::FindRefusal(copy)), Texts{});
    copy.m_files[1].m_text = "";
    EXPECT_EQ(TextsOf(record::FindRefusal(copy)),
              Texts{"CLoggerUsageMonitorConf::CLoggerUsageMonitorConf nSetFlag=0000"});
    copy.m_files[0].m_text = "";
    EXPECT_EQ(TextsOf(record::FindRefusal(copy)),
              Texts{"CLoggerSyslogOutputConf::CLoggerSyslogOutputConf nSetFlag=0000"});
    EXPECT_EQ(ReadFile(KzmPaths::kAlertConfig), CTestRoot::kAlertConfig);
}

} // namespace
