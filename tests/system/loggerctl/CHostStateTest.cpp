#include "loggerctl/agent/CHostState.h"

#include "loggerctl/agent/CProviderCall.h"

#include <gtest/gtest.h>

namespace {

using Stage = CHostState::Stage;

struct Row {
    const char* m_pName;
    ExitCode m_exitCode;
    std::vector<std::string> m_lines;
    Stage m_stage;
};

const std::string kSet = "CVELTARO_ToolServiceLogger::SetParameter() ";

const Row kRows[] = {
    {"not loaded", ExitCode::NotLoaded, {}, Stage::NotBegun},
    {"not installed", ExitCode::NotInstalled, {}, Stage::NotBegun},
    {"no class", ExitCode::Failure, {"VELTARO_ToolServiceLogger pClass == NULL"}, Stage::NotBegun},
    {"no vendor", ExitCode::Failure, {kSet + "CIM_VTR_E_CRITICAL_ERROR"}, Stage::NotBegun},
    {"no lock", ExitCode::Failure, {kSet + "GetMutex failure"}, Stage::NotBegun},
    {"no stop",
     ExitCode::Failure,
     {"a line of the command's", kSet + "ServiceStop failure 7"},
     Stage::StopFailed},
    {"request refused", ExitCode::Failure, {kSet + "CLoggerConf status error"}, Stage::Stopped},
    {"exception in the request", ExitCode::Exception, {kSet + "unknown exception"}, Stage::Stopped},
    {"not written",
     ExitCode::Failure,
     {"CLoggerConf::EditConfigFile() EditAlert failure", kSet + "EditConfigFile failure"},
     Stage::Stopped},
    {"no start", ExitCode::Failure, {kSet + "ServiceStart failure 1"}, Stage::StartFailed},
    {"another exception",
     ExitCode::Exception,
     {"CVELTARO_ToolServiceLogger::ExecMethodAsync() unknown exception"},
     Stage::Unknown},
    {"no line at all", ExitCode::Failure, {}, Stage::Unknown},
};

TEST(CHostState, KnowsHowFarTheCallCame) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.m_pName);
        CProviderAnswer answer;
        answer.m_exitCode = row.m_exitCode;
        for (const std::string& line : row.m_lines) {
            answer.m_lines.push_back({"TarnwellLogger", 2, line});
        }
        EXPECT_EQ(static_cast<int>(CHostState::StageOf(answer)), static_cast<int>(row.m_stage));
    }
}

} // namespace
