#pragma once

#include "comlib/KzmApi.h"

#include <functional>
#include <string>

// The process's trace. Lines whose level is masked cost one test: nothing is formatted.
//
// Until a host program sets them, mask and destination come from the environment, read once through
// secure_getenv: KZM_TRACE is the mask of levels (decimal, or hexadecimal with 0x; 0 or unset is
// off), KZM_TRACE_FILE the file to append to (standard error when unset or when it cannot be
// opened).
//
// All members can be called from any thread.
class KZM_API CTraceUtility {
public:
    enum TRACE_DBG_LEVEL {
        TRACE_DBG_VALUE = 1,
        TRACE_DBG_FAILURE = 2,
        TRACE_DBG_FLOW = 4,
        TRACE_DBG_EXCEPTION = 8,
    };

    // Writes one line: time, process id, level, module, text. The whole line goes out with one
    // write; control characters in the text, also those that UTF-8 writes with two bytes, are
    // written as \xHH so that a line stays a line and a terminal obeys none of them.
    // Nothing is reported when the destination cannot take it. errno is preserved. It is no
    // cancellation point.
    static void WriteDebug(const char* module, TRACE_DBG_LEVEL level, const char* format, ...)
        __attribute__((format(printf, 3, 4)));

    // ---- For host programs, tools and tests ----

    struct Line {
        std::string m_sModule;
        int m_iLevel;
        std::string m_sText;
    };
    using Listener = std::function<void(const Line&)>;

    // Replaces the mask and the destination. An empty path is standard error. Returns false, and
    // changes nothing, when the file cannot be opened for appending.
    static bool SetDestination(unsigned int mask, const std::string& path);

    // Gives every line whose level is in the mask to the listener, besides the destination, raw, on
    // the thread that traces. The listener must not trace. An empty function removes it.
    static void SetListener(unsigned int mask, Listener listener);
};
