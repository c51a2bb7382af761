#include "settings/LoggerTrace.h"

namespace LoggerTrace {

bool IsDone(const char* operation, const char* call, HRESULT result) {
    if (result >= 0) {
        return true;
    }
    CTraceUtility::WriteDebug(kModule, kFailure, "%s %s is FAILED %08x", operation, call,
                              static_cast<unsigned int>(result));
    return false;
}

bool IsSame(const char* record, const char* field, int left, int right) {
    if (left == right) {
        return true;
    }
    CTraceUtility::WriteDebug(kModule, kFailure, "%s::Compare %s not same. %s1=%d %s2=%d", record,
                              field, field, left, field, right);
    return false;
}

} // namespace LoggerTrace
