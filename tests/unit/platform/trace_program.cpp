// Traces one line of each level; its environment decides where they go. With an argument it has a
// listener before its first line.

#include "comlib/CTraceUtility.h"

int main(int argumentCount, char** /*arguments*/) {
    if (argumentCount > 1) {
        CTraceUtility::SetListener(CTraceUtility::TRACE_DBG_FLOW, [](const auto&) {});
    }
    CTraceUtility::WriteDebug("Module", CTraceUtility::TRACE_DBG_VALUE, "value");
    CTraceUtility::WriteDebug("Module", CTraceUtility::TRACE_DBG_FAILURE, "failure");
    CTraceUtility::WriteDebug("Module", CTraceUtility::TRACE_DBG_FLOW, "flow");
    CTraceUtility::WriteDebug("Module", CTraceUtility::TRACE_DBG_EXCEPTION, "exception");
}
