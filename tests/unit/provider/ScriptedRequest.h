#pragma once

#include "tests/support/CTestRoot.h"
#include "tests/support/SampleConf.h"
#include "tests/support/TableTest.h"
#include "tests/unit/provider/ScriptedCall.h"

#include <string>

// The input parameters that ask for these settings.
inline IWbemClassObject Request(const CLoggerConf& conf) {
    IWbemClassObject inParams;
    EXPECT_TRUE(conf.ConvertToIWbemClassObject(&inParams));
    return inParams;
}

inline const std::string kSet = "CVELTARO_ToolServiceLogger::SetParameter";
inline const std::string kWrite = "CVELTARO_ToolServiceLogger::EditConfigFile";

// From the last call: every traced failure and exception, and the start and end lines of the
// provider's own methods and steps, in order.
inline Notes FlowTrace() {
    Notes flow;
    for (const std::string& note : CScript::Get().m_notes) {
        const bool isFailure = note.rfind(Trace(2, ""), 0) == 0 || note.rfind(Trace(8, ""), 0) == 0;
        const bool isStep =
            note.rfind(Trace(4, kSet), 0) == 0 || note.rfind(Trace(4, kWrite), 0) == 0;
        if (isFailure || isStep) {
            flow.push_back(note);
        }
    }
    return flow;
}

// What the method traces between its start and its end.
inline Notes SetTrace(const Notes& lines) {
    return Join({{Trace(4, kSet + " [START]")}, lines, {Trace(4, kSet + " [END]")}});
}
// What the verified write traces, its reasons at level 2.
inline Notes WriteTrace(const std::vector<std::string>& reasons) {
    Notes notes = {Trace(4, kWrite + " [START]")};
    for (const std::string& reason : reasons) {
        notes.push_back(Trace(2, reason));
    }
    notes.push_back(Trace(4, kWrite + " [END]"));
    return notes;
}

inline const Notes kStopped = {"ExecuteCommand CheckInstall", "ExecuteCommand ServiceStop"};
inline const Notes kRestarted = {"ExecuteCommand CheckInstall", "ExecuteCommand ServiceStop",
                                 "ExecuteCommand ServiceStart"};
