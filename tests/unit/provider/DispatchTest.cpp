// From the host's call to the method and back to the sink.

#include "tests/support/CTestRoot.h"
#include "tests/unit/provider/ScriptedCall.h"

#include "providerbase/IWbemContext.h"

#include <gtest/gtest.h>

#include <any>
#include <stdexcept>

namespace {

const char kExec[] = "CVELTARO_ToolServiceLogger::ExecMethodAsync";

Notes Beginning(const std::string& method) {
    return {
        Trace(4, std::string(kExec) + " [START]"),
        "ShowMessage wide CVELTARO_ToolServiceLogger::ExecMethodAsync(), "
        "CVELTARO_ToolServiceLogger::ExecMethodAsync",
        "set_transrator",
        "SysAllocString VELTARO_ToolServiceLogger",
        "GetObject VELTARO_ToolServiceLogger 0 no context no call result",
        "GetMethod " + method + " 0 no in-signature",
        "SpawnInstance 0",
    };
}

const Notes kReleases = {"Release instance", "Release definition", "Release class",
                         "SysFreeString VELTARO_ToolServiceLogger"};

class Dispatch : public testing::Test {
protected:
    Dispatch() { CScript::Reset(); }

    // A method of the provider's own that fails at once and does nothing else.
    static void RemoveVendor() { CScript::Get().m_bHasVendor = false; }

    CTestRoot m_root;
};

TEST_F(Dispatch, OwnMethodsAreServedAndDelivered) {
    RemoveVendor();
    for (const std::string method : {"GetParameter", "SetParameter"}) {
        CScript::Get().m_notes.clear();
        CScriptedCall call;
        EXPECT_EQ(0, call.Run(method));
        const std::string name = "CVELTARO_ToolServiceLogger::" + method;
        EXPECT_EQ(
            Join({Beginning(method),
                  {Trace(4, name + " [START]"), Trace(2, name + "() CIM_VTR_E_CRITICAL_ERROR"),
                   Trace(4, name + " [END]"), "setReturnValue 0x80000001", "Indicate 1",
                   "SetStatus 0 0x00000000 no text no object"},
                  kReleases,
                  {Trace(1, std::string(kExec) + " mr=0x80000001"),
                   Trace(4, std::string(kExec) + " [END]")}}),
            CScript::Get().m_notes);
    }
}

TEST_F(Dispatch, OtherMethodsAreForwardedWithAllArguments) {
    for (const std::string method :
         {"ExecuteUpdate", "getparameter", "GETPARAMETER", "GetParameters", "setParameter", ""}) {
        for (const int baseStatus : {0, static_cast<int>(0x8004100C), 5}) {
            SCOPED_TRACE(method);
            CScriptedCall call;
            CScript::Get().m_iForwardedStatus = baseStatus;
            CScript::Get().m_notes.clear();
            IWbemClassObject inParams;
            IWbemContext context;
            std::string className = "AnyClass";
            std::string methodName = method;
            EXPECT_EQ(baseStatus,
                      call.m_provider.ExecMethodAsync(className.data(), methodName.data(), 7,
                                                      &context, &inParams, &call.m_sink));
            const CVELTARO_ToolService::Forwarded& arguments = call.m_provider.m_forwarded;
            EXPECT_EQ(className.data(), arguments.className);
            EXPECT_EQ(methodName.data(), arguments.methodName);
            EXPECT_EQ(7, arguments.flags);
            EXPECT_EQ(&context, arguments.context);
            EXPECT_EQ(&inParams, arguments.inParams);
            EXPECT_EQ(&call.m_sink, arguments.sink);

            Notes beginning = Beginning(method);
            beginning[4] = "GetObject VELTARO_ToolServiceLogger 0 context no call result";
            char status[32];
            std::snprintf(status, sizeof status, "0x%08x", static_cast<unsigned>(baseStatus));
            Notes end = {Trace(1, std::string(kExec) + " mr=0x00000000")};
            if (baseStatus != 0) {
                end.push_back(Trace(2, std::string(kExec) + " hr=" + status));
            }
            end.push_back(Trace(4, std::string(kExec) + " [END]"));
            EXPECT_EQ(Join({beginning,
                            {"forwarded " + method,
                             "SetStatus 0 " + std::string(status) + " no text no object"},
                            kReleases,
                            end}),
                      CScript::Get().m_notes);
        }
    }
}

TEST_F(Dispatch, MissingClassIsReportedWithoutAnEndLine) {
    for (const bool hasServices : {true, false}) {
        CScriptedCall call;
        call.m_services.m_bHasClass = false;
        Notes beginning = Beginning("GetParameter");
        beginning.resize(5);
        if (!hasServices) {
            call.m_provider.m_pServices = nullptr;
            beginning.erase(beginning.begin() + 4);
        }
        EXPECT_EQ(static_cast<int>(0x8004100C), call.Run("GetParameter"));
        EXPECT_EQ(Join({beginning,
                        {Trace(2, "VELTARO_ToolServiceLogger pClass == NULL"),
                         "SysFreeString VELTARO_ToolServiceLogger",
                         "SetStatus 0 0x8004100c no text no object"}}),
                  CScript::Get().m_notes);
        EXPECT_TRUE(call.m_sink.m_objects.empty());
    }
}

TEST_F(Dispatch, ExceptionOfTheSinksStatusPassesThroughAndReleasesEverything) {
    for (const bool hasClass : {true, false}) {
        CScript::Reset();
        CScriptedCall call;
        call.m_services.m_bHasClass = hasClass;
        CScript::Get().m_onNote = [](const std::string& note) {
            if (note.rfind("SetStatus", 0) == 0) {
                throw std::runtime_error("the sink's own");
            }
        };
        EXPECT_THROW(call.Run("Other"), std::runtime_error);
        CScript::Get().m_onNote = nullptr;
        EXPECT_EQ(1U, NotesOf("SetStatus").size());
        EXPECT_EQ(hasClass ? 3U : 0U, NotesOf("Release ").size());
        EXPECT_EQ(1U, NotesOf("SysFreeString").size());
        EXPECT_EQ(Notes{}, NotesOf("trace TarnwellLogger 8"));
    }
}

TEST_F(Dispatch, MethodThatTheDefinitionDoesNotKnowIsForwardedAllTheSame) {
    CScriptedCall call;
    call.m_services.m_bHasOutSignature = false;
    EXPECT_EQ(0, call.Run("Unknown"));
    EXPECT_EQ((Notes{"forwarded Unknown"}), NotesOf("forwarded"));
    EXPECT_EQ((Notes{"Release class"}), NotesOf("Release"));
}

TEST_F(Dispatch, WithoutOutputObjectTheFailureIsStillTraced) {
    CScriptedCall call;
    call.m_services.m_bHasOutSignature = false;
    EXPECT_EQ(0, call.Run("GetParameter"));
    EXPECT_EQ(Notes{}, NotesOf("Indicate"));
    EXPECT_EQ((Notes{Trace(1, std::string(kExec) + " mr=0x80000001")}),
              NotesOf("trace TarnwellLogger 1 " + std::string(kExec)));
}

TEST_F(Dispatch, NoSinkIsHarmless) {
    RemoveVendor();
    CScriptedCall call;
    std::string method = "GetParameter";
    EXPECT_EQ(0, call.m_provider.ExecMethodAsync(method.data(), method.data(), 0, nullptr, nullptr,
                                                 nullptr));
}

// ---- Exceptions ----

struct ThrowRow {
    std::string method;
    std::string place; // the note at which the platform throws
    bool hasOutput;    // the output object was made before
};

TEST_F(Dispatch, ExceptionBecomesAResultAndAStatus) {
    const ThrowRow rows[] = {
        {"GetParameter", "GetObject", false},
        {"GetParameter", "GetMethod", false},
        {"GetParameter", "SpawnInstance", false},
        {"GetParameter", "ExecuteCommand CheckInstall", true},
        {"SetParameter", "ExecuteCommand CheckInstall", true},
        {"GetParameter", "setReturnValue 0x00000000", true},
        {"GetParameter", "Indicate", true},
        {"Other", "forwarded Other", true},
    };
    for (const ThrowRow& row : rows) {
        for (const bool isStandard : {true, false}) {
            SCOPED_TRACE(row.method + " throws at " + row.place);
            CScript::Reset();
            CScriptedCall call;
            CScript::Get().m_onNote = [&row, isStandard](const std::string& note) {
                if (note.rfind(row.place, 0) == 0) {
                    CScript::Get().m_onNote = nullptr;
                    if (isStandard) {
                        throw std::runtime_error("broken %n");
                    }
                    throw 42;
                }
            };
            EXPECT_EQ(static_cast<int>(0x80041001), call.Run(row.method));

            const Notes& notes = CScript::Get().m_notes;
            const std::string caught =
                Trace(8, std::string(kExec) +
                             (isStandard ? "() [exception:broken %n]" : "() unknown exception"));
            const auto at = std::find(notes.begin(), notes.end(), caught);
            ASSERT_NE(notes.end(), at) << testing::PrintToString(notes);
            Notes expected = {caught};
            if (row.hasOutput) {
                expected.push_back("setReturnValue 0x80000002");
                expected.push_back("Indicate 1");
            }
            expected.push_back("SetStatus 0 0x80041001 no text no object");
            const Notes tail(at, notes.end());
            EXPECT_EQ(expected,
                      Notes(tail.begin(), tail.begin() + static_cast<long>(expected.size())));
            EXPECT_EQ(Trace(2, std::string(kExec) + " hr=0x80041001"), notes[notes.size() - 2]);
            EXPECT_EQ(Trace(4, std::string(kExec) + " [END]"), notes.back());
            if (row.hasOutput) {
                EXPECT_EQ(Notes(kReleases.begin(), kReleases.begin() + 3), NotesOf("Release "));
                EXPECT_EQ(0x80000002UL, std::any_cast<unsigned long>(
                                            call.m_sink.m_objects.back().m_values["ReturnValue"]));
            }
            EXPECT_EQ(1U, NotesOf("SetStatus").size());
        }
    }
}

TEST_F(Dispatch, ExceptionWhoseResultCannotBeDeliveredStillHasItsStatus) {
    for (const std::string place : {"setReturnValue", "Indicate"}) {
        SCOPED_TRACE(place);
        CScript::Reset();
        CScriptedCall call;
        CScript::Get().m_onNote = [&place](const std::string& note) {
            if (note.rfind(place, 0) == 0) {
                throw std::runtime_error("broken");
            }
        };
        EXPECT_EQ(static_cast<int>(0x80041001), call.Run("GetParameter"));
        EXPECT_EQ((Notes{"SetStatus 0 0x80041001 no text no object"}), NotesOf("SetStatus"));
        EXPECT_EQ(Notes(kReleases.begin(), kReleases.begin() + 3), NotesOf("Release "));
        EXPECT_EQ(Trace(4, std::string(kExec) + " [END]"), CScript::Get().m_notes.back());
    }
}

TEST_F(Dispatch, MethodResultOfAnExceptionIsTracedAsZero) {
    CScriptedCall call;
    CScript::Get().m_onCommand = [](const std::string&) -> int { throw 42; };
    call.Run("GetParameter");
    EXPECT_EQ((Notes{Trace(1, std::string(kExec) + " mr=0x00000000")}),
              NotesOf("trace TarnwellLogger 1 " + std::string(kExec)));
}

} // namespace
