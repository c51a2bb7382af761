// Reading the settings: every exit of the flow.

#include "tests/support/CTestRoot.h"
#include "tests/support/ProviderLockFile.h"
#include "tests/unit/provider/ScriptedCall.h"

#include "KzmPaths.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

const std::string kGet = "CVELTARO_ToolServiceLogger::GetParameter";

class GetParameter : public testing::Test {
protected:
    GetParameter() { CScript::Reset(); }

    // The trace lines of this method itself, levels 2 and 4, in order.
    static Notes OwnTrace() {
        Notes notes;
        for (const std::string& note : CScript::Get().m_notes) {
            if (note.find(kGet) != std::string::npos) {
                notes.push_back(note);
            }
        }
        return notes;
    }

    static Notes Failure(const std::string& reason) {
        return {Trace(4, kGet + " [START]"), Trace(2, kGet + "() " + reason),
                Trace(4, kGet + " [END]")};
    }

    CTestRoot m_root;
};

TEST_F(GetParameter, AnswersTheSettingsAndFreesTheLock) {
    CScriptedCall call;
    EXPECT_EQ(0, call.Run("GetParameter"));
    EXPECT_EQ(0U, call.Result());
    EXPECT_EQ((Notes{Trace(4, kGet + " [START]"), Trace(4, kGet + " [END]")}), OwnTrace());
    EXPECT_EQ((Notes{"ExecuteCommand CheckInstall"}), NotesOf("ExecuteCommand"));
    EXPECT_EQ(1U, call.m_sink.m_objects[0].m_values.count("LoggerConf"));
    EXPECT_TRUE(IsLockFree());
}

TEST_F(GetParameter, TracesTheRecordBetweenLoadingAndConversion) {
    CScriptedCall call;
    call.Run("GetParameter");
    const Notes own = NotesOf("trace TarnwellLogger 4 CLoggerConf::");
    EXPECT_EQ((Notes{Trace(4, "CLoggerConf::CLoggerConf() [START]"),
                     Trace(4, "CLoggerConf::CLoggerConf() [END]"),
                     Trace(4, "CLoggerConf::OutPutMemberToDebugLog[START]"),
                     Trace(4, "CLoggerConf::OutPutMemberToDebugLog[END]")}),
              own);
}

TEST_F(GetParameter, WithoutVendorFailsBeforeLockAndFiles) {
    CScript::Get().m_bHasVendor = false;
    CScriptedCall call;
    EXPECT_EQ(0, call.Run("GetParameter"));
    EXPECT_EQ(0x80000001U, call.Result());
    EXPECT_EQ(Failure("CIM_VTR_E_CRITICAL_ERROR"), OwnTrace());
    EXPECT_FALSE(std::filesystem::exists(KzmPaths::kLockFile));
}

TEST_F(GetParameter, AgentNotInstalledIsAnsweredBeforeTheLock) {
    CScript::Get().m_onCommand = [](const std::string&) { return 1; };
    CScriptedCall call;
    EXPECT_EQ(0, call.Run("GetParameter"));
    EXPECT_EQ(176U, call.Result());
    EXPECT_EQ(Failure("Logger not installed"), OwnTrace());
    EXPECT_FALSE(std::filesystem::exists(KzmPaths::kLockFile));
}

TEST_F(GetParameter, EveryOtherAnswerMeansInstalled) {
    for (const int answer : {0, 2, -1, 124, 127, 255}) {
        SCOPED_TRACE(answer);
        CScript::Get().m_onCommand = [answer](const std::string&) { return answer; };
        CScriptedCall call;
        call.Run("GetParameter");
        EXPECT_EQ(0U, call.Result());
    }
}

TEST_F(GetParameter, LockThatCannotBeTakenFails) {
    std::filesystem::remove_all(std::filesystem::path(KzmPaths::kLockFile).parent_path());
    CScriptedCall call;
    EXPECT_EQ(0, call.Run("GetParameter"));
    EXPECT_EQ(0x80000001U, call.Result());
    EXPECT_EQ(Failure("GetMutex failure"), OwnTrace());
    EXPECT_EQ(Notes{}, NotesOf(Trace(4, "CLoggerConf")));
}

TEST_F(GetParameter, BadFileFailsAndFreesTheLock) {
    m_root.SetAgentConfig("");
    CScriptedCall call;
    EXPECT_EQ(0, call.Run("GetParameter"));
    EXPECT_EQ(0x80000001U, call.Result());
    EXPECT_EQ(Failure("CLoggerConf status error"), OwnTrace());
    EXPECT_EQ(0U, call.m_sink.m_objects[0].m_values.count("LoggerConf"));
    EXPECT_TRUE(IsLockFree());
}

// Fails the n-th property operation, for every n until a call meets no failure.
TEST_F(GetParameter, EveryPropertyThatCannotBeSetFailsTheMethod) {
    int failing = 0;
    for (;;) {
        SCOPED_TRACE(++failing);
        CScript::Reset();
        CScript::Get().m_iFailingPropertyCall = failing;
        CScriptedCall call;
        EXPECT_EQ(0, call.Run("GetParameter"));
        EXPECT_TRUE(IsLockFree());
        if (CScript::Get().m_iPropertyCalls < failing) {
            EXPECT_EQ(0U, call.Result());
            break;
        }
        EXPECT_EQ(0x80000001U, call.Result());
        EXPECT_EQ(Failure("ConvertToIWbemClassObject failure"), OwnTrace());
        const Notes failures = NotesOf("trace TarnwellLogger 2 ");
        ASSERT_EQ(2U, failures.size()) << testing::PrintToString(failures);
        EXPECT_NE(std::string::npos, failures[0].find("::ConvertToIWbemClassObject set"));
        EXPECT_NE(std::string::npos, failures[0].find(" is FAILED ffffffff"));
        EXPECT_EQ(0U, call.m_sink.m_objects[0].m_values.count("LoggerConf"));
    }
    // 4 switches, 2 * 4 monitor values, 3 values and 3 rows of 3 of the file systems with their
    // array, 4 parts and the whole.
    EXPECT_EQ(4 + 8 + 3 + 9 + 1 + 4 + 1, failing - 1);
}

TEST_F(GetParameter, ExceptionLeavesTheLockHeld) {
    CScriptedCall call;
    CScript::Get().m_onNote = [](const std::string& note) {
        if (note.find("CLoggerConf::OutPutMemberToDebugLog[START]") != std::string::npos) {
            CScript::Get().m_onNote = nullptr;
            throw 42;
        }
    };
    EXPECT_EQ(static_cast<int>(0x80041001), call.Run("GetParameter"));
    EXPECT_EQ(0x80000002U, call.Result());
    EXPECT_EQ((Notes{Trace(4, kGet + " [START]")}), OwnTrace());
    EXPECT_FALSE(IsLockFree());
}

} // namespace
