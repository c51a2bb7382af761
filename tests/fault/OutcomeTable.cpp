#include "tests/fault/OutcomeTable.h"

#include <initializer_list>
#include <string>

using namespace OutcomeTable;

namespace {

constexpr char kGet[] = "GetParameter";
constexpr char kSet[] = "SetParameter";
constexpr std::uint32_t kFailure = 0x80000001;
constexpr std::uint32_t kException = 0x80000002;
constexpr std::uint32_t kCallFailed = 0x80041001;

constexpr char kAnything[] = "none open read write close lseek fchmod flock start pipe wait futex "
                             "fstat fcntl prlimit mmap memory";
constexpr char kStopped[] = "ServiceStop";
constexpr char kRestarted[] = "ServiceStop ServiceStart";

constexpr char kGetStart[] = "CVELTARO_ToolServiceLogger::GetParameter [START]";
constexpr char kGetEnd[] = "CVELTARO_ToolServiceLogger::GetParameter [END]";
constexpr char kSetStart[] = "CVELTARO_ToolServiceLogger::SetParameter [START]";
constexpr char kSetEnd[] = "CVELTARO_ToolServiceLogger::SetParameter [END]";
constexpr char kBeginsToLoad[] = "CLoggerConf::CLoggerConf() [START]";

const std::string kClass = "CVELTARO_ToolServiceLogger::";

TraceLine Failure(const std::string& text) {
    return {2, text};
}

const TraceLine kNoMountTable =
    Failure("CLoggerFsUsageMonitorConf::CLoggerFsUsageMonitorConf GetMountPointList() failure");

const TraceLine kAgentOpenError = Failure("CLoggerConf::CLoggerConf agent.cfg open error");
const TraceLine kAlertOpenError = Failure("CLoggerConf::CLoggerConf alert.cfg open error");
const TraceLine kFileSystemsNotSame = Failure("CLoggerConf::Compare FsUsageMonitorConf not same.");

// ---- GetParameter ----

Row Get(const char* name, const char* faults, const TraceLines& lines) {
    return {name, kGet, faults, lines.empty() ? 0 : kFailure, lines, ""};
}

// The settings cannot be read, for this reason.
Row GetStatusError(const char* name, const char* faults, const TraceLine& reason) {
    return Get(name, faults, {reason, Failure(kClass + "GetParameter() CLoggerConf status error")});
}

// ---- SetParameter ----

Row Set(const char* name, const char* faults, const TraceLines& lines, const char* commands,
        File agent, File alert) {
    Row row{name, kSet, faults, lines.empty() ? 0 : kFailure, lines, commands};
    row.m_agent = agent;
    row.m_alert = alert;
    return row;
}

// The service stays stopped: the files were not written as they should be, for these reasons.
Row SetEditFailure(const char* name, const char* faults, TraceLines lines, File agent, File alert) {
    lines.push_back(Failure(kClass + "SetParameter() EditConfigFile failure"));
    return Set(name, faults, lines, "ServiceStop", agent, alert);
}

// One of the files could not be edited.
Row SetNotEdited(const char* name, const char* faults, const char* what, File agent, File alert) {
    return SetEditFailure(name, faults,
                          {Failure(std::string("CLoggerConf::EditConfigFile() ") + what),
                           Failure(kClass + "EditConfigFile() LoggerConfEdit->EditConfigFile "
                                            "failure")},
                          agent, alert);
}

// Reading back failed.
Row SetNotReadBack(const char* name, const char* faults, const TraceLine& reason, File agent,
                   File alert) {
    return SetEditFailure(name, faults,
                          {reason, Failure(kClass + "EditConfigFile() CLoggerConf status error")},
                          agent, alert);
}

// What was read back is something else.
Row SetDifferent(const char* name, const char* faults, TraceLines lines, File agent, File alert) {
    lines.push_back(Failure(kClass + "EditConfigFile() compare not same"));
    return SetEditFailure(name, faults, lines, agent, alert);
}

// ---- Exceptions ----

Row Exception(const char* name, const char* method, const char* commands, File agent, File alert) {
    Row row{name,
            method,
            kMemory,
            kException,
            {{8, kClass + "ExecMethodAsync() [exception:std::bad_alloc]"},
             Failure(kClass + "ExecMethodAsync hr=0x80041001")},
            commands};
    row.m_agent = agent;
    row.m_alert = alert;
    row.m_uiStatus = kCallFailed;
    return row;
}

// The host had no memory for the call itself: the provider never saw it.
Row HostThrew(const char* method) {
    Row row{"HostHadNoMemory", method, kMemory, 0, {}, ""};
    row.m_uiStatus = kCallFailed;
    row.m_bDelivered = false;
    row.m_bHostThrew = true;
    return row;
}

// SetParameter answers this one itself.
Row SetRequestException() {
    Row row =
        Set("ExceptionWhileTheRequestIsRead", kMemory,
            {{8, kClass + "SetParameter() unknown exception"}}, kStopped, File::kOld, File::kOld);
    row.m_uiResult = kException;
    return row;
}

Row HoldingTheLock(Row row) {
    row.m_bLockHeld = true;
    return row;
}

Row Traced(const char* text, Row row) {
    row.m_pTraced = text;
    return row;
}

Row NotTraced(const char* text, Row row) {
    row.m_pNotTraced = text;
    return row;
}

Row WithGoodTrace(Row row) {
    row.m_bGoodTrace = true;
    return row;
}

// The C library does not wait for the mount command when closing its pipe fails.
Row WithChild(Row row) {
    row.m_bHasChildren = true;
    return row;
}

Row WithoutOutput(Row row) {
    row.m_bDelivered = false;
    return row;
}

std::vector<Row> GetRows() {
    const auto exception = [](const char* name) {
        return Exception(name, kGet, "", File::kOld, File::kOld);
    };
    return {
        WithGoodTrace(Get("Success", kAnything, {})),
        WithChild(WithGoodTrace(Get("MountCommandNotWaitedFor", "close", {}))),
        // A reading that fails in the middle ends early; what is missing has its defaults.
        Traced(kBeginsToLoad, Get("FileSystemsReadInPart", "read memory", {})),
        Get("LockNotTaken", "open fchmod flock",
            {Failure(kClass + "GetParameter() GetMutex failure")}),
        GetStatusError("AgentNotOpened", "open memory", kAgentOpenError),
        GetStatusError("AlertNotOpened", "open memory", kAlertOpenError),
        GetStatusError("FileReadInPart", "read lseek memory", Failure(kFailureOfReader)),
        GetStatusError("MountTableNotRead", "start pipe mmap memory", kNoMountTable),
        HostThrew(kGet),
        WithoutOutput(NotTraced(kGetStart, exception("ExceptionBeforeTheOutput"))),
        Traced(kGetStart, NotTraced(kBeginsToLoad, exception("ExceptionBeforeTheLock"))),
        HoldingTheLock(NotTraced(kGetEnd, exception("ExceptionUnderTheLock"))),
        Traced(kGetEnd, exception("ExceptionBehindTheLock")),
    };
}

// The files could not be written.
std::vector<Row> SetEditRows() {
    return {
        SetNotEdited("AgentNotOpened", "open memory", "agent.cfg open error", File::kOld,
                     File::kOld),
        SetNotEdited("AgentReadInPart", "read memory", "EditAgent failure", File::kOld, File::kOld),
        SetNotEdited("AlertNotOpened", "open memory", "alert.cfg open error", File::kNew,
                     File::kOld),
        SetNotEdited("AlertReadInPart", "read memory", "EditAlert failure", File::kNew, File::kOld),
        // The reading before it lost lines of agent.cfg that hold none of the settings.
        SetNotEdited("AlertReadInPartToo", "read", "EditAlert failure", File::kBeginning,
                     File::kOld),
    };
}

// The files were written, and do not read as what was asked for.
std::vector<Row> SetReadBackRows() {
    return {
        SetNotReadBack("AgentNotReopened", "open memory", kAgentOpenError, File::kNew, File::kNew),
        SetNotReadBack("AlertNotReopened", "open memory", kAlertOpenError, File::kNew, File::kNew),
        SetNotReadBack("FileReadBackInPart", "read lseek memory", Failure(kFailureOfReader),
                       File::kNew, File::kNew),
        // The reading before it lost lines of alert.cfg that hold none of the settings.
        SetNotReadBack("FileReadBackInPartToo", "read", Failure(kFailureOfReader), File::kNew,
                       File::kBeginning),
        SetNotReadBack("MountTableNotRead", "start pipe mmap memory", kNoMountTable, File::kNew,
                       File::kNew),
        SetDifferent("MountTableReadInPart", "read",
                     {Failure("CLoggerFsUsageMonitorConf::Compare VolumeName not same. "
                              "VolumeName1(/) not found."),
                      kFileSystemsNotSame},
                     File::kNew, File::kNew),
        SetDifferent("FileSystemsReadBackInPart", "memory",
                     {Failure(kDifferenceOfReader), kFileSystemsNotSame}, File::kNew, File::kNew),
        SetNotReadBack("AgentWrittenInPart", "write", Failure(kFailureOfFiles), File::kBeginning,
                       File::kNew),
        SetNotReadBack("AlertWrittenInPart", "write", Failure(kFailureOfFiles), File::kNew,
                       File::kBeginning),
        SetNotReadBack("BothWrittenInPart", "write", Failure(kFailureOfFiles), File::kBeginning,
                       File::kBeginning),
        SetDifferent("FileSystemsNotWritten", "write", {Failure(kDifferenceOfFiles)}, File::kNew,
                     File::kBeginning),
    };
}

std::vector<Row> SetServiceRows() {
    const TraceLine stopFailure = Failure(kClass + "SetParameter() ServiceStop failure 127");
    const TraceLine startFailure = Failure(kClass + "SetParameter() ServiceStart failure 127");
    return {
        Set("StopNotRun", "start mmap memory", {stopFailure}, "", File::kOld, File::kOld),
        Set("StopLostItsAnswer", "wait", {stopFailure}, kStopped, File::kOld, File::kOld),
        Set("StartNotRun", "start mmap memory", {startFailure}, kStopped, File::kNew, File::kNew),
        Set("StartLostItsAnswer", "wait", {startFailure}, kRestarted, File::kNew, File::kNew),
    };
}

std::vector<Row> SetExceptionRows() {
    const auto exception = [](const char* name, const char* commands, File agent, File alert) {
        return Exception(name, kSet, commands, agent, alert);
    };
    const auto underTheLock = [&](const char* name, const char* commands, File agent, File alert) {
        return HoldingTheLock(NotTraced(kSetEnd, exception(name, commands, agent, alert)));
    };
    const auto before = [&](const char* name) {
        return exception(name, "", File::kOld, File::kOld);
    };
    return {
        WithoutOutput(NotTraced(kSetStart, before("ExceptionBeforeTheOutput"))),
        Traced(kSetStart, NotTraced(kBeginsToLoad, before("ExceptionBeforeTheLock"))),
        underTheLock("ExceptionBeforeTheStop", "", File::kOld, File::kOld),
        SetRequestException(),
        underTheLock("ExceptionBeforeTheEdit", kStopped, File::kOld, File::kOld),
        underTheLock("ExceptionAtWritingAgent", kStopped, File::kEmpty, File::kOld),
        underTheLock("ExceptionBeforeWritingAlert", kStopped, File::kNew, File::kOld),
        underTheLock("ExceptionAtWritingAlert", kStopped, File::kNew, File::kEmpty),
        underTheLock("ExceptionBehindTheEdit", kStopped, File::kNew, File::kNew),
        Traced(kSetEnd, exception("ExceptionBehindTheLock", kRestarted, File::kNew, File::kNew)),
    };
}

std::vector<Row> SetRows() {
    const Row success =
        WithGoodTrace(Set("Success", kAnything, {}, kRestarted, File::kNew, File::kNew));
    // The writer notices neither a write that fails nor a reading that ended early; what was lost
    // is none of the settings.
    const auto lost = [](const char* name, File agent, File alert) {
        return WithGoodTrace(Set(name, "read write memory", {}, kRestarted, agent, alert));
    };
    return {
        success,
        WithChild(WithGoodTrace(
            Set("MountCommandNotWaitedFor", "close", {}, kRestarted, File::kNew, File::kNew))),
        lost("LinesOfAgentLost", File::kBeginning, File::kNew),
        lost("LinesOfAlertLost", File::kNew, File::kBeginning),
        lost("LinesOfBothLost", File::kBeginning, File::kBeginning),
        Set("LockNotTaken", "open flock", {Failure(kClass + "SetParameter() GetMutex failure")}, "",
            File::kOld, File::kOld),
        HostThrew(kSet),
    };
}

} // namespace

const std::vector<Row>& OutcomeTable::Rows() {
    static const std::vector<Row> rows = [] {
        std::vector<Row> all;
        for (const auto& part : {GetRows(), SetRows(), SetServiceRows(), SetEditRows(),
                                 SetReadBackRows(), SetExceptionRows()}) {
            all.insert(all.end(), part.begin(), part.end());
        }
        return all;
    }();
    return rows;
}
