#pragma once

#include "comlib/CIWbemUtil.h"
#include "comlib/CTraceUtility.h"

// How this product traces: its module name, its levels, and the lines that many records share.
namespace LoggerTrace {

inline constexpr char kModule[] = "TarnwellLogger";

using Level = CTraceUtility::TRACE_DBG_LEVEL;
inline constexpr Level kValue = static_cast<Level>(1);     // values
inline constexpr Level kFailure = static_cast<Level>(2);   // failures and differences
inline constexpr Level kFlow = static_cast<Level>(4);      // start and end of an operation
inline constexpr Level kException = static_cast<Level>(8); // caught exceptions

// True when a property operation succeeded. A failed one is traced as
// "<operation> <call> is FAILED <result>".
bool IsDone(const char* operation, const char* call, HRESULT result);

// True when a field of two records is the same. A difference is traced as
// "<record>::Compare <field> not same. <field>1=<left> <field>2=<right>".
bool IsSame(const char* record, const char* field, int left, int right);

} // namespace LoggerTrace
