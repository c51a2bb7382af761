// Changing the settings with a request that cannot be read, and with exceptions at every step.

#include "tests/support/CTestRoot.h"
#include "tests/support/ProviderLockFile.h"
#include "tests/unit/provider/ScriptedRequest.h"

#include "KzmPaths.h"

using std::string;

namespace {

class SetParameterFault : public testing::Test {
protected:
    SetParameterFault() { CScript::Reset(); }

    static void ExpectFilesUntouched() {
        EXPECT_EQ(CTestRoot::kAgentConfig, ReadFile(KzmPaths::kAgentConfig));
        EXPECT_EQ(CTestRoot::kAlertConfig, ReadFile(KzmPaths::kAlertConfig));
    }

    // The request was refused after the service was stopped, for the one reason given.
    static void ExpectRefusal(IWbemClassObject* inParams, const string& reason) {
        CScriptedCall call;
        EXPECT_EQ(0, call.Run("SetParameter", inParams));
        EXPECT_EQ(0x80000001U, call.Result());
        EXPECT_EQ(SetTrace({Trace(2, reason), Trace(2, kSet + "() CLoggerConf status error")}),
                  FlowTrace());
        EXPECT_EQ(kStopped, NotesOf("ExecuteCommand"));
        EXPECT_TRUE(IsLockFree());
        ExpectFilesUntouched();
    }

    CTestRoot m_root;
};

// ---- Requests that lack something ----

IWbemClassObject& Embedded(IWbemClassObject* object, const string& name) {
    return *std::any_cast<IWbemClassObject>(&object->m_values.at(name));
}
std::vector<IWbemClassObject>& VolumeRows(IWbemClassObject* inParams) {
    IWbemClassObject& part = Embedded(&Embedded(inParams, "LoggerConf"), "FsUsageMonitorConf");
    return *std::any_cast<std::vector<IWbemClassObject>>(&part.m_values.at("FsThresholdConfList"));
}

const char kConf[] = "CLoggerConf::CLoggerConf";
const char kSyslog[] = "CLoggerSyslogOutputConf::CLoggerSyslogOutputConf";
const char kUsage[] = "CLoggerUsageMonitorConf::CLoggerUsageMonitorConf";
const char kFs[] = "CLoggerFsUsageMonitorConf::CLoggerFsUsageMonitorConf";
const char kVolume[] = "CLoggerFsThresholdConf::CLoggerFsThresholdConf";

string Failed(const string& operation, const string& type) {
    return operation + " get" + type + "FromIWbemClassObject is FAILED ffffffff";
}

TEST_F(SetParameterFault, NoInputIsRefused) {
    ExpectRefusal(nullptr, Failed(kConf, "ParameterClass"));
    IWbemClassObject empty;
    ExpectRefusal(&empty, Failed(kConf, "ParameterClass"));
}

TEST_F(SetParameterFault, EveryPropertyOfTheRequestIsRequired) {
    const struct {
        string part; // of "LoggerConf"
        string property;
        string reason;
    } rows[] = {
        {"SyslogOutputConf", "", Failed(kConf, "ParameterClass")},
        {"SyslogOutputConf", "SyslogOutput", Failed(kSyslog, "Bool")},
        {"SyslogOutputConf", "InformationAlert", Failed(kSyslog, "Bool")},
        {"SyslogOutputConf", "WarningAlert", Failed(kSyslog, "Bool")},
        {"SyslogOutputConf", "ObstacleAlert", Failed(kSyslog, "Bool")},
        {"UsageMonitorConfCpu", "", Failed(kConf, "ParameterClass")},
        {"UsageMonitorConfCpu", "MonitoringEnable", Failed(kUsage, "Bool")},
        {"UsageMonitorConfCpu", "SamplingInterval", Failed(kUsage, "UInt")},
        {"UsageMonitorConfCpu", "SamplingCount", Failed(kUsage, "UInt")},
        {"UsageMonitorConfCpu", "Threshold", Failed(kUsage, "Int")},
        {"UsageMonitorConfMemory", "", Failed(kConf, "ParameterClass")},
        {"UsageMonitorConfMemory", "MonitoringEnable", Failed(kUsage, "Bool")},
        {"UsageMonitorConfMemory", "SamplingInterval", Failed(kUsage, "UInt")},
        {"UsageMonitorConfMemory", "SamplingCount", Failed(kUsage, "UInt")},
        {"UsageMonitorConfMemory", "Threshold", Failed(kUsage, "Int")},
        {"FsUsageMonitorConf", "", Failed(kConf, "ParameterClass")},
        {"FsUsageMonitorConf", "MonitoringEnable", Failed(kFs, "Bool")},
        {"FsUsageMonitorConf", "SamplingInterval", Failed(kFs, "UInt")},
        {"FsUsageMonitorConf", "SamplingCount", Failed(kFs, "UInt")},
        {"FsUsageMonitorConf", "FsThresholdConfList", Failed(kFs, "ParameterClassArray")},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.part + " " + row.property);
        IWbemClassObject inParams = Request(ChangedConf());
        IWbemClassObject& conf = Embedded(&inParams, "LoggerConf");
        const std::size_t erased = row.property.empty()
                                       ? conf.m_values.erase(row.part)
                                       : Embedded(&conf, row.part).m_values.erase(row.property);
        ASSERT_EQ(1U, erased);
        ExpectRefusal(&inParams, row.reason);
    }
}

TEST_F(SetParameterFault, EveryPropertyOfEveryRowIsRequired) {
    const struct {
        string property;
        string type;
    } properties[] = {
        {"VolumeName", "String"}, {"Threshold", "Int"}, {"VolMonitoringEnable", "Bool"}};
    for (std::size_t index = 0; index < 3; ++index) {
        for (const auto& [property, type] : properties) {
            SCOPED_TRACE(property + " of row " + std::to_string(index));
            IWbemClassObject inParams = Request(ChangedConf());
            ASSERT_EQ(1U, VolumeRows(&inParams).at(index).m_values.erase(property));
            ExpectRefusal(&inParams, Failed(kVolume, type));
        }
    }
}

// ---- Reading the request, operation by operation ----

constexpr int kReads = 1 + 4 + 4 + 4 + 4 + 4 + 3 * 3; // the whole, its parts, their properties

TEST_F(SetParameterFault, EveryReadThatFailsRefusesTheRequest) {
    const CLoggerConf conf = ChangedConf();
    int failing = 1;
    for (;; ++failing) {
        SCOPED_TRACE(failing);
        CScript::Reset();
        IWbemClassObject inParams = Request(conf);
        CScript::Get().m_iPropertyCalls = 0;
        CScript::Get().m_iFailingPropertyCall = failing;
        CScriptedCall call;
        EXPECT_EQ(0, call.Run("SetParameter", &inParams));
        EXPECT_TRUE(IsLockFree());
        if (CScript::Get().m_iPropertyCalls < failing) {
            EXPECT_EQ(0U, call.Result());
            break;
        }
        EXPECT_EQ(0x80000001U, call.Result());
        EXPECT_EQ(kStopped, NotesOf("ExecuteCommand"));
        EXPECT_EQ(Trace(2, kSet + "() CLoggerConf status error"), FlowTrace().at(2));
        ExpectFilesUntouched();
    }
    EXPECT_EQ(kReads, failing - 1);
}

TEST_F(SetParameterFault, EveryReadThatThrowsEndsTheMethodInOrder) {
    const CLoggerConf conf = ChangedConf();
    for (int failing = 1; failing <= kReads; ++failing) {
        SCOPED_TRACE(failing);
        CScript::Reset();
        IWbemClassObject inParams = Request(conf);
        CScript::Get().m_iPropertyCalls = 0;
        CScript::Get().m_iFailingPropertyCall = failing;
        CScript::Get().m_bFailingPropertyThrows = true;
        CScriptedCall call;
        EXPECT_EQ(0, call.Run("SetParameter", &inParams));
        EXPECT_EQ(0x80000002U, call.Result());
        EXPECT_EQ(SetTrace({Trace(8, kSet + "() unknown exception")}), FlowTrace());
        EXPECT_EQ(kStopped, NotesOf("ExecuteCommand"));
        EXPECT_TRUE(IsLockFree());
        ExpectFilesUntouched();
    }
}

// A wrong type makes this platform throw an exception of the standard library.
TEST_F(SetParameterFault, StandardExceptionWhileReadingIsUnknownToo) {
    IWbemClassObject inParams = Request(ChangedConf());
    VolumeRows(&inParams).at(2).m_values["Threshold"] = string("80");
    CScriptedCall call;
    EXPECT_EQ(0, call.Run("SetParameter", &inParams));
    EXPECT_EQ(0x80000002U, call.Result());
    EXPECT_EQ(SetTrace({Trace(8, kSet + "() unknown exception")}), FlowTrace());
    EXPECT_TRUE(IsLockFree());
}

// ---- Exceptions elsewhere ----

// Makes the operation of the n-th note from now throw, once.
void ThrowAtNote(std::size_t number) {
    auto count = std::make_shared<std::size_t>(0);
    CScript::Get().m_onNote = [number, count](const string& /*note*/) {
        if (++*count == number) {
            CScript::Get().m_onNote = nullptr;
            throw 42;
        }
    };
}

// Where a throw still finds, or leaves behind, a lock that nobody holds: before the lock is taken,
// while the request is read, and after the lock was given back.
bool LeavesTheLockFree(const Notes& road, std::size_t step) {
    const auto indexOf = [&road](const string& note, int occurrence) {
        auto at = road.begin();
        for (int i = 0; i <= occurrence; ++i) {
            at = std::find(i == 0 ? at : at + 1, road.end(), note);
        }
        return static_cast<std::size_t>(at - road.begin());
    };
    const bool isBeforeTheLock = step < indexOf("ExecuteCommand ServiceStop", 0);
    const bool isReading = step >= indexOf(Trace(4, "CLoggerConf::CLoggerConf() [START]"), 0) &&
                           step <= indexOf(Trace(4, "CLoggerConf::CLoggerConf() [END]"), 0);
    const bool isAfterTheLock = step >= indexOf(Trace(4, kSet + " [END]"), 0);
    return isBeforeTheLock || isReading || isAfterTheLock;
}

TEST_F(SetParameterFault, ExceptionAtEveryStepGivesOneAnswer) {
    IWbemClassObject inParams = Request(ChangedConf());
    CScriptedCall good;
    good.Run("SetParameter", &inParams);
    const Notes road = CScript::Get().m_notes;
    const auto begin = std::find(road.begin(), road.end(), Trace(4, kSet + " [START]"));
    const auto end = std::find(road.begin(), road.end(), Trace(4, kSet + " [END]"));
    ASSERT_NE(road.end(), end);
    for (auto step = static_cast<std::size_t>(begin - road.begin());
         step <= static_cast<std::size_t>(end - road.begin()); ++step) {
        SCOPED_TRACE(std::to_string(step) + ": " + road[step]);
        CTestRoot root;
        CScript::Reset();
        CScriptedCall call;
        ThrowAtNote(step + 1);
        const HRESULT status = call.Run("SetParameter", &inParams);
        EXPECT_EQ(0x80000002U, call.Result());
        const bool isReading = status == 0;
        EXPECT_TRUE(isReading || status == static_cast<HRESULT>(0x80041001));
        EXPECT_EQ((Notes{Trace(8, isReading ? kSet + "() unknown exception"
                                            : "CVELTARO_ToolServiceLogger::ExecMethodAsync() "
                                              "unknown exception")}),
                  NotesOf(Trace(8, "")));
        EXPECT_EQ(LeavesTheLockFree(road, step), IsLockFree());
        EXPECT_EQ(1U, NotesOf("SetStatus").size());
        // What was begun before is not taken back, and nothing more is begun.
        const Notes commands = NotesOf("ExecuteCommand");
        ASSERT_LE(commands.size(), kRestarted.size());
        EXPECT_TRUE(std::equal(commands.begin(), commands.end(), kRestarted.begin()));
    }
}

TEST_F(SetParameterFault, ExceptionAtTheSecondDumpLeavesLockAndServiceAsTheyAre) {
    IWbemClassObject inParams = Request(ChangedConf());
    int dumps = 0;
    CScript::Get().m_onNote = [&dumps](const string& note) {
        if (note == Trace(4, "CLoggerConf::OutPutMemberToDebugLog[START]") && ++dumps == 2) {
            throw 42;
        }
    };
    CScriptedCall call;
    EXPECT_EQ(static_cast<HRESULT>(0x80041001), call.Run("SetParameter", &inParams));
    EXPECT_EQ(0x80000002U, call.Result());
    EXPECT_EQ((Notes{Trace(4, kSet + " [START]"),
                     Trace(8, "CVELTARO_ToolServiceLogger::ExecMethodAsync() unknown exception"),
                     Trace(2, "CVELTARO_ToolServiceLogger::ExecMethodAsync hr=0x80041001")}),
              FlowTrace());
    EXPECT_EQ(kStopped, NotesOf("ExecuteCommand"));
    EXPECT_FALSE(IsLockFree());
    ExpectFilesUntouched();
}

TEST_F(SetParameterFault, ExceptionFromTheStartOfTheServiceKeepsTheNewSettings) {
    IWbemClassObject inParams = Request(ChangedConf());
    CScript::Get().m_onCommand = [](const string& command) {
        return command == "ServiceStart" ? throw std::runtime_error("broken") : 0;
    };
    CScriptedCall call;
    EXPECT_EQ(static_cast<HRESULT>(0x80041001), call.Run("SetParameter", &inParams));
    EXPECT_EQ(0x80000002U, call.Result());
    EXPECT_EQ(Join({{Trace(4, kSet + " [START]")},
                    WriteTrace({}),
                    {Trace(8, "CVELTARO_ToolServiceLogger::ExecMethodAsync() [exception:broken]"),
                     Trace(2, "CVELTARO_ToolServiceLogger::ExecMethodAsync hr=0x80041001")}}),
              FlowTrace());
    EXPECT_EQ(kRestarted, NotesOf("ExecuteCommand"));
    EXPECT_FALSE(IsLockFree());
    EXPECT_EQ(ChangedAgent(), ReadFile(KzmPaths::kAgentConfig));
    EXPECT_EQ(ChangedAlert(), ReadFile(KzmPaths::kAlertConfig));
}

} // namespace
