#pragma once

#include "tests/otherplatform/Script.h"

#include <cstdarg>
#include <cstdio>

class CTraceUtility {
public:
    enum TRACE_DBG_LEVEL { LEVEL_A = 1, LEVEL_B = 2, LEVEL_C = 4, LEVEL_D = 8 };

    static void WriteDebug(const char* module, TRACE_DBG_LEVEL level, const char* format, ...)
        __attribute__((format(printf, 3, 4))) {
        char text[1024];
        va_list arguments;
        va_start(arguments, format);
        std::vsnprintf(text, sizeof text, format, arguments);
        va_end(arguments);
        CScript::Get().Note("trace " + std::string(module) + " " +
                            std::to_string(static_cast<int>(level)) + " " + text);
    }
};
