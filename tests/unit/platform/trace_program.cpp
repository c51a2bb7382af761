// Traces one line of each level; its environment decides where they go.

#include "comlib/CTraceUtility.h"

int main() {
    CTraceUtility::WriteDebug("Module", CTraceUtility::TRACE_DBG_VALUE, "value");
    CTraceUtility::WriteDebug("Module", CTraceUtility::TRACE_DBG_FAILURE, "failure");
    CTraceUtility::WriteDebug("Module", CTraceUtility::TRACE_DBG_FLOW, "flow");
    CTraceUtility::WriteDebug("Module", CTraceUtility::TRACE_DBG_EXCEPTION, "exception");
}
