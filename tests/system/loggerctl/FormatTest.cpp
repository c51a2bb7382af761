// --format=json: one document for every command, also for one that fails; and --quiet.

#include "KzmPaths.h"
#include "tests/support/CTempFile.h"
#include "tests/support/SampleConf.h"
#include "tests/system/loggerctl/CGolden.h"
#include "tests/system/loggerctl/SampleHistory.h"
#include "tests/system/loggerctl/SetSupport.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::json;
using Words = CProgram::Words;

// Runs it with --format=json; standard error must stay empty.
Json Document(Words words, int exitCode) {
    words.insert(words.begin(), "--format=json");
    const CProgram::Result result = CProgram(words).Run();
    EXPECT_EQ(result.m_iExitCode, exitCode) << result.m_sOutput << result.m_sError;
    EXPECT_EQ(result.m_sError, "");
    return Json::parse(result.m_sOutput, nullptr, false);
}

class Format : public testing::Test {
protected:
    const CTestRoot m_root;
};

TEST_F(Format, OfAChange) {
    const Json document = Document({"set", "syslog.information=yes", "cpu.threshold=95"}, 0);
    EXPECT_EQ(document.at("changed"), true);
    EXPECT_EQ(document.at("dry_run"), false);
    EXPECT_EQ(document.at("settings"),
              Json::parse(R"([{"key": "syslog.information", "old": false, "new": true},
                              {"key": "cpu.threshold", "old": 90, "new": 95}])"));
    EXPECT_NE(document.at("difference").get<std::string>().find("\n+CPU=(True, 60, 5, 95)\n"),
              std::string::npos);
    EXPECT_EQ(document.at("service_restarted"), true);
    EXPECT_EQ(document.at("warnings"), Json::array());
    EXPECT_EQ(document.at("history_id"), SampleHistory::Names().front());
    EXPECT_FALSE(document.contains("needs_force"));
}

TEST_F(Format, OfNoChange) {
    const Json document = Document({"set", "cpu.threshold=90"}, 0);
    EXPECT_EQ(document.at("changed"), false);
    EXPECT_EQ(document.at("settings"), Json::array());
    EXPECT_EQ(document.at("difference"), "");
    EXPECT_EQ(document.at("history_id"), Json());
    EXPECT_EQ(document.at("service_restarted"), false);
}

TEST_F(Format, OfADryRunWithLosses) {
    m_root.SetAlertConfig(std::string(CTestRoot::kAlertConfig) + "FSNAME=\"/gone\" (95)\n");
    const Json document = Document({"set", "--dry-run", "cpu.threshold=95"}, 0);
    EXPECT_EQ(document.at("changed"), true);
    EXPECT_EQ(document.at("dry_run"), true);
    EXPECT_EQ(document.at("history_id"), Json());
    EXPECT_NE(document.at("difference").get<std::string>().find("\n-FSNAME=\"/gone\" (95)\n"),
              std::string::npos);
    ASSERT_EQ(document.at("warnings").size(), 1U);
    EXPECT_NE(document.at("warnings")[0].get<std::string>().find("/gone is not mounted"),
              std::string::npos);
    EXPECT_EQ(document.at("losses"), Json::array({"/gone is not mounted: its entry (monitored, "
                                                  "threshold 95 %) goes from alert.cfg."}));
}

TEST_F(Format, OfADryRunSaysWhetherForceIsNeeded) {
    const struct {
        Words m_words;
        bool m_needsForce;
    } rows[] = {
        {{"set", "--dry-run", "cpu.threshold=95"}, false},
        {{"set", "--dry-run", "cpu.threshold=90"}, false},
        {{"set", "--dry-run", "fs.enable=off"}, true},
        {{"set", "--dry-run", "--force", "fs.enable=off"}, true},
        {{"restore", "--dry-run", SampleHistory::kOlder}, false},
        {{"restore", "--dry-run", SampleHistory::kNewer}, true},
    };
    SampleHistory::Add(SampleHistory::kOlder, "valid", CTestRoot::kAgentConfig,
                       CTestRoot::kAlertConfig);
    SampleHistory::Add(SampleHistory::kNewer, "not valid", "x", "y");
    for (const auto& row : rows) {
        EXPECT_EQ(Document(row.m_words, 0).at("needs_force"), row.m_needsForce)
            << row.m_words.back();
    }
    m_root.SetAgentConfig("x"); // as in the copy: nothing is to be done
    m_root.SetAlertConfig("y");
    const Json same = Document({"restore", "--dry-run", SampleHistory::kNewer}, 0);
    EXPECT_EQ(same.at("needs_force"), false);
}

TEST_F(Format, OfAComparison) {
    SampleHistory::Add(SampleHistory::kOlder, "older", CTestRoot::kAgentConfig,
                       CTestRoot::kAlertConfig);
    SampleHistory::Add(SampleHistory::kNewer, "newer", CTestRoot::kAgentConfig, "other\n");
    const struct {
        Words m_words;
        Json m_until;
        bool m_differs;
    } rows[] = {
        {{"diff", SampleHistory::kOlder}, Json(), false},
        {{"diff", SampleHistory::kNewer}, Json(), true},
        {{"diff", SampleHistory::kOlder, SampleHistory::kNewer}, SampleHistory::kNewer, true},
        {{"diff", "2", "1"}, SampleHistory::kNewer, true},
        {{"diff", "1", "1"}, SampleHistory::kNewer, false},
    };
    for (const auto& row : rows) {
        const Json document = Document(row.m_words, 0);
        EXPECT_EQ(document.at("until"), row.m_until) << row.m_words.back();
        EXPECT_EQ(!document.at("difference").get<std::string>().empty(), row.m_differs)
            << row.m_words.back();
    }
}

TEST_F(Format, OfAFailureAfterTheStop) {
    m_root.SetVendorAnswers(0, 0, 7);
    const Json error = Document({"set", "cpu.threshold=95"}, 4).at("error");
    EXPECT_EQ(error.at("code"), 4);
    EXPECT_EQ(error.at("name"), "failure");
    EXPECT_EQ(error.at("stage"), "start-failed");
    EXPECT_EQ(error.at("host_state").at("service"), "stopped");
    EXPECT_EQ(error.at("host_state").at("files"), "changed");
    EXPECT_EQ(error.at("recover_with"), Json({"loggerctl restore " + SampleHistory::Names().front(),
                                              "loggerctl service start"}));
    EXPECT_NE(error.at("reasons")[0].get<std::string>().find("ServiceStart"), std::string::npos);
}

TEST_F(Format, OfWrongUsage) {
    const struct {
        Words m_words;
        const char* m_message;
    } rows[] = {
        {{"set", "cpu.treshold=3"}, "Unknown key 'cpu.treshold'. Did you mean 'cpu.threshold'?"},
        {{"set", "--drry-run"}, "Unknown option '--drry-run'. Did you mean '--dry-run'?"},
        {{"git"}, "Unknown command 'git'. Did you mean 'get'?"},
        {{}, "A command is missing."},
        {{"restore", ""}, "There is no copy ''."},
    };
    SampleHistory::Add(SampleHistory::kOlder, "x", "a", "b");
    for (const auto& row : rows) {
        const Json error = Document(row.m_words, 2).at("error");
        EXPECT_EQ(error.at("name"), "usage");
        EXPECT_EQ(error.at("message"), row.m_message);
    }
}

TEST_F(Format, OfKeysAndRecords) {
    EXPECT_EQ(Document({"get", "cpu.threshold", "fs:/home.enable"}, 0),
              Json::parse(R"({"cpu.threshold": 90, "fs:/home.enable": true, "warnings": []})"));
    EXPECT_EQ(Document({"get", "cpu"}, 0),
              Json::parse(R"({"UsageMonitorConfCpu": {"MonitoringEnable": true,
                              "SamplingInterval": 60, "SamplingCount": 5, "Threshold": 90}})"));
    const Json monitored = Document({"get", "fs", "--monitored", "--usage"}, 0);
    const Json& list = monitored.at("FsUsageMonitorConf").at("FsThresholdConfList");
    ASSERT_EQ(list.size(), 1U);
    EXPECT_EQ(list[0].at("VolumeName"), "/home");
    EXPECT_TRUE(list[0].contains("InUse"));
}

TEST_F(Format, OfRestoreAndHistory) {
    RunSet({"cpu.threshold=95"});
    const std::string id = SampleHistory::Names().front();
    const Json planned = Document({"restore", "--dry-run"}, 0);
    EXPECT_EQ(planned.at("changed"), true);
    EXPECT_EQ(planned.at("restored"), id);
    EXPECT_EQ(planned.at("history_id"), Json());
    EXPECT_NE(planned.at("difference").get<std::string>().find("\n+CPU=(True, 60, 5, 90)\n"),
              std::string::npos);
    EXPECT_EQ(ReadFile(KzmPaths::kAlertConfig), ChangedAlert());
    const Json restored = Document({"restore", "1"}, 0);
    EXPECT_EQ(restored.at("changed"), true);
    EXPECT_EQ(restored.at("restored"), id);
    EXPECT_EQ(restored.at("service_restarted"), true);
    EXPECT_EQ(restored.at("history_id"), SampleHistory::Names().back());
    EXPECT_EQ(ReadFile(KzmPaths::kAlertConfig), CTestRoot::kAlertConfig);
    const Json again = Document({"restore", id}, 0);
    EXPECT_EQ(again.at("changed"), false);
    EXPECT_EQ(again.at("history_id"), Json());
    EXPECT_EQ(Document({"restore", "--dry-run", id}, 0).at("changed"), false);
    const Json history = Document({"history"}, 0);
    ASSERT_EQ(history.size(), 2U);
    EXPECT_EQ(history[1].at("Id"), id);
    EXPECT_EQ(history[1].at("Reason"), "set cpu.threshold=95");
    EXPECT_TRUE(history[1].contains("User"));
}

TEST_F(Format, OfTheService) {
    EXPECT_EQ(Document({"service", "stop"}, 0),
              Json::parse(R"({"action": "stop", "changed": true, "state": "stopped",
                              "warnings": []})"));
    SetVendorCommand("ServiceStatus", "/bin/false");
    EXPECT_EQ(Document({"service", "status"}, 9).at("state"), "stopped");
    EXPECT_EQ(Document({"service", "stop"}, 0).at("changed"), false);
}

TEST_F(Format, QuietSaysNothingButFailures) {
    CProgram::Result result = CProgram({"-q", "set", "cpu.threshold=95"}).Run();
    EXPECT_EQ(result.m_iExitCode, 0);
    EXPECT_EQ(result.m_sOutput + result.m_sError, "");
    result = CProgram({"--quiet", "set", "cpu.threshold=900"}).Run();
    EXPECT_EQ(result.m_iExitCode, 2);
    EXPECT_NE(result.m_sError, "");
}

} // namespace
