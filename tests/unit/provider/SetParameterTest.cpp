// Changing the settings: every exit of the flow.

#include "tests/support/CTestRoot.h"
#include "tests/support/CWithoutFilePrivileges.h"
#include "tests/support/ProviderLockFile.h"
#include "tests/unit/provider/ScriptedRequest.h"

#include "KzmPaths.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <map>

using std::string;
using Answers = std::map<string, int>;

namespace {

const string kSampleAgent = CTestRoot::kAgentConfig;
const string kSampleAlert = CTestRoot::kAlertConfig;

// One exit, and all that can be seen of it.
struct ExitRow {
    string name;
    std::function<void(const CTestRoot&)> prepare;
    Answers answers;       // of the vendor commands; 0 where none is given
    CLoggerConf (*conf)(); // the settings asked for
    unsigned long result;
    Notes trace; // between the method's start and its end
    Notes commands;
    string agent; // the files afterwards
    string alert;
};
std::ostream& operator<<(std::ostream& out, const ExitRow& row) {
    return out << row.name;
}

void AnswerCommands(const Answers& answers) {
    CScript::Get().m_onCommand = [answers](const string& command) {
        const auto answer = answers.find(command);
        return answer == answers.end() ? 0 : answer->second;
    };
}

// The text of a file; "none" when there is no file.
string TextOf(const char* path) {
    return std::filesystem::is_regular_file(path) ? ReadFile(path) : "none";
}

class SetParameter : public testing::TestWithParam<ExitRow> {
protected:
    SetParameter() { CScript::Reset(); }

    CTestRoot m_root;
};

TEST_P(SetParameter, EndsAsDocumented) {
    const ExitRow& row = GetParam();
    row.prepare(m_root);
    AnswerCommands(row.answers);
    const bool hasLockFolder =
        std::filesystem::exists(std::filesystem::path(KzmPaths::kLockFile).parent_path());
    IWbemClassObject inParams = Request(row.conf());
    CScriptedCall call;
    {
        const CWithoutFilePrivileges privileges;
        EXPECT_EQ(0, call.Run("SetParameter", &inParams));
    }
    EXPECT_EQ(row.result, call.Result());
    EXPECT_EQ(SetTrace(row.trace), FlowTrace());
    EXPECT_EQ(row.commands, NotesOf("ExecuteCommand"));
    EXPECT_EQ(1U, call.m_sink.m_objects[0].m_values.size()) << "only the result is answered";
    EXPECT_TRUE(!hasLockFolder || IsLockFree());
    EXPECT_EQ(row.agent, TextOf(KzmPaths::kAgentConfig));
    EXPECT_EQ(row.alert, TextOf(KzmPaths::kAlertConfig));
}

string Reason(const string& text) {
    return Trace(2, kSet + "() " + text);
}

void NoPreparation(const CTestRoot& /*root*/) {}

// ---- Before anything is written ----

ExitRow Untouched(const string& name, const Answers& answers, unsigned long result,
                  const string& reason, const Notes& commands) {
    return {name,     NoPreparation, answers,     ChangedConf, result, {Reason(reason)},
            commands, kSampleAgent,  kSampleAlert};
}
ExitRow StopFails(const string& name, int answer) {
    return Untouched(name, {{"ServiceStop", answer}}, 0x80000001,
                     "ServiceStop failure " + std::to_string(answer), kStopped);
}

INSTANTIATE_TEST_SUITE_P(
    NothingWritten, SetParameter,
    testing::Values(ExitRow{"NoVendor",
                            [](const CTestRoot&) { CScript::Get().m_bHasVendor = false; },
                            {},
                            ChangedConf,
                            0x80000001,
                            {Reason("CIM_VTR_E_CRITICAL_ERROR")},
                            {},
                            kSampleAgent,
                            kSampleAlert},
                    Untouched("NotInstalled", {{"CheckInstall", 1}}, 176, "Logger not installed",
                              {"ExecuteCommand CheckInstall"}),
                    ExitRow{"NoLock",
                            [](const CTestRoot&) {
                                std::filesystem::remove_all(
                                    std::filesystem::path(KzmPaths::kLockFile).parent_path());
                            },
                            {},
                            ChangedConf,
                            0x80000001,
                            {Reason("GetMutex failure")},
                            {"ExecuteCommand CheckInstall"},
                            kSampleAgent,
                            kSampleAlert},
                    StopFails("StopAnswers1", 1), StopFails("StopAnswersMinus1", -1),
                    StopFails("StopAnswers124", 124)),
    RowName<ExitRow>);

TEST_F(SetParameter, AnswersBeforeTheLockMakeNoLockFile) {
    for (const bool hasVendor : {false, true}) {
        CScript::Reset();
        CScript::Get().m_bHasVendor = hasVendor;
        AnswerCommands({{"CheckInstall", 1}});
        CScriptedCall call;
        call.Run("SetParameter");
        EXPECT_FALSE(std::filesystem::exists(KzmPaths::kLockFile));
    }
}

// ---- The write fails; the service stays stopped ----

ExitRow WriteFails(const string& name, const std::function<void(const CTestRoot&)>& prepare,
                   const string& reason, const string& agent, const string& alert) {
    const Notes trace = WriteTrace({"CLoggerConf::EditConfigFile() " + reason,
                                    kWrite + "() LoggerConfEdit->EditConfigFile failure"});
    return {name,        prepare,    {},
            ChangedConf, 0x80000001, Join({trace, {Reason("EditConfigFile failure")}}),
            kStopped,    agent,      alert};
}

INSTANTIATE_TEST_SUITE_P(
    WriteFails, SetParameter,
    testing::Values(WriteFails(
                        "AgentMissing", [](const CTestRoot&) { unlink(KzmPaths::kAgentConfig); },
                        "agent.cfg open error", "none", kSampleAlert),
                    WriteFails(
                        "AgentReadOnly",
                        [](const CTestRoot&) { chmod(KzmPaths::kAgentConfig, 0400); },
                        "agent.cfg open error", kSampleAgent, kSampleAlert),
                    WriteFails(
                        "AgentEmpty", [](const CTestRoot& root) { root.SetAgentConfig(""); },
                        "EditAgent failure", "", kSampleAlert),
                    WriteFails(
                        "AlertMissing", [](const CTestRoot&) { unlink(KzmPaths::kAlertConfig); },
                        "alert.cfg open error", ChangedAgent(), "none"),
                    WriteFails(
                        "AlertReadOnly",
                        [](const CTestRoot&) { chmod(KzmPaths::kAlertConfig, 0400); },
                        "alert.cfg open error", ChangedAgent(), kSampleAlert),
                    WriteFails(
                        "AlertEmpty", [](const CTestRoot& root) { root.SetAlertConfig(""); },
                        "EditAlert failure", ChangedAgent(), "")),
    RowName<ExitRow>);

// ---- The files were written ----

CLoggerConf WithoutData() {
    CLoggerConf conf = ChangedConf();
    conf.m_FsUsageMonitorConf.m_FsThresholdConfList.pop_back();
    return conf;
}

// Off as a whole with a row on, and a row without a threshold.
CLoggerConf InNeedOfNormalising() {
    CLoggerConf conf = ChangedConf();
    conf.m_FsUsageMonitorConf.m_bMonitoringEnable = false;
    conf.m_FsUsageMonitorConf.m_FsThresholdConfList = {
        {"/", 0, false}, {"/home", 90, true}, {"/data", 0, true}};
    return conf;
}

const string kNormalisedAlert =
    Replace(Replace(Replace(ChangedAlert(), "(True, 300", "(False, 300"), "FSNAME=\"/home\"",
                    "#KZM# \tFSNAME=\"/home\""),
            "(75)", "(80)");

ExitRow StartFails(const string& name, int answer) {
    return {name,
            NoPreparation,
            {{"ServiceStart", answer}},
            ChangedConf,
            0x80000001,
            Join({WriteTrace({}), {Reason("ServiceStart failure " + std::to_string(answer))}}),
            kRestarted,
            ChangedAgent(),
            ChangedAlert()};
}
ExitRow Success(const string& name, CLoggerConf (*conf)(), const string& agent,
                const string& alert) {
    return {name, NoPreparation, {}, conf, 0, WriteTrace({}), kRestarted, agent, alert};
}
ExitRow ReadBackFails(const string& name, const string& mountOutput, CLoggerConf (*conf)(),
                      const std::vector<string>& reasons, const string& alert) {
    return {name,       [mountOutput](const CTestRoot& root) { root.SetMountOutput(mountOutput); },
            {},         conf,
            0x80000001, Join({WriteTrace(reasons), {Reason("EditConfigFile failure")}}),
            kStopped,   ChangedAgent(),
            alert};
}

INSTANTIATE_TEST_SUITE_P(
    Written, SetParameter,
    testing::Values(Success("Changed", ChangedConf, ChangedAgent(), ChangedAlert()),
                    Success("EqualToTheFiles", SampleConf, kSampleAgent, kSampleAlert),
                    Success("Normalised", InNeedOfNormalising, ChangedAgent(), kNormalisedAlert),
                    StartFails("StartAnswers1", 1), StartFails("StartAnswersMinus1", -1),
                    StartFails("StartAnswers124", 124),
                    ReadBackFails("ReadBackDiffers", CTestRoot::kMountOutput, WithoutData,
                                  {"CLoggerFsUsageMonitorConf::Compare FsList size is not same. "
                                   "FsList1.size=2 FsList2.size=3",
                                   "CLoggerConf::Compare FsUsageMonitorConf not same.",
                                   kWrite + "() compare not same"},
                                  Replace(ChangedAlert(), "#KZM# \tFSNAME=\"/data\"   (75)\n", "")),
                    ReadBackFails("ReadBackFails", "x on  type y\n", ChangedConf,
                                  {"CLoggerFsUsageMonitorConf::CLoggerFsUsageMonitorConf "
                                   "GetMountPointList() failure",
                                   kWrite + "() CLoggerConf status error"},
                                  ChangedAlert())),
    RowName<ExitRow>);

TEST_F(SetParameter, EveryOtherAnswerMeansInstalled) {
    for (const int answer : {0, 2, -1, 124, 127, 255}) {
        SCOPED_TRACE(answer);
        AnswerCommands({{"CheckInstall", answer}});
        IWbemClassObject inParams = Request(ChangedConf());
        CScriptedCall call;
        EXPECT_EQ(0, call.Run("SetParameter", &inParams));
        EXPECT_EQ(0U, call.Result());
        EXPECT_EQ(kRestarted, NotesOf("ExecuteCommand"));
    }
}

TEST_F(SetParameter, EqualFilesAreWrittenAllTheSame) {
    m_root.SetAgentConfig(kSampleAgent + "last");
    m_root.SetAlertConfig(kSampleAlert + "last");
    IWbemClassObject inParams = Request(SampleConf());
    CScriptedCall call;
    call.Run("SetParameter", &inParams);
    EXPECT_EQ(0U, call.Result());
    EXPECT_EQ(kRestarted, NotesOf("ExecuteCommand"));
    EXPECT_EQ(kSampleAgent + "last\n", ReadFile(KzmPaths::kAgentConfig));
    EXPECT_EQ(kSampleAlert + "last\n", ReadFile(KzmPaths::kAlertConfig));
}

// ---- The whole road ----

Notes Dump(const CLoggerConf& conf) {
    CScript::Get().m_notes.clear();
    conf.OutPutMemberToDebugLog();
    return CScript::Get().m_notes;
}

TEST_F(SetParameter, GoesThroughAllStepsInOrder) {
    CLoggerConf normalised = InNeedOfNormalising();
    normalised.m_FsUsageMonitorConf.m_FsThresholdConfList = {
        {"/", 80, false}, {"/home", 90, false}, {"/data", 80, false}};
    const Notes loading = {Trace(4, "CLoggerConf::CLoggerConf() [START]"),
                           Trace(4, "CLoggerConf::CLoggerConf() [END]")};
    const Notes expected = SetTrace(Join({kStopped,
                                          loading,
                                          Dump(InNeedOfNormalising()),
                                          Dump(normalised),
                                          {Trace(4, kWrite + " [START]")},
                                          loading,
                                          {Trace(4, kWrite + " [END]")},
                                          {"ExecuteCommand ServiceStart"}}));

    IWbemClassObject inParams = Request(InNeedOfNormalising());
    CScriptedCall call;
    call.Run("SetParameter", &inParams);
    const Notes& notes = CScript::Get().m_notes;
    const auto begin = std::find(notes.begin(), notes.end(), expected.front());
    const auto end = std::find(begin, notes.end(), expected.back());
    ASSERT_NE(notes.end(), end);
    EXPECT_EQ(expected, Notes(begin, end + 1));
}

TEST_F(SetParameter, LockIsHeldFromTheStopToTheStartOfTheService) {
    Notes held;
    CScript::Get().m_onNote = [&held](const string& note) {
        if (note.rfind("ExecuteCommand", 0) == 0 && !IsLockFree()) {
            held.push_back(note);
        }
    };
    IWbemClassObject inParams = Request(ChangedConf());
    CScriptedCall call;
    call.Run("SetParameter", &inParams);
    EXPECT_EQ((Notes{"ExecuteCommand ServiceStop", "ExecuteCommand ServiceStart"}), held);
}

} // namespace
