#pragma once

#include "settings/CLoggerConf.h"

#include "KzmPaths.h"
#include "tests/support/CTraceCapture.h"

#include <string>

// What the tests of the record and of its parts share.

// The lines that making a record traces, before and behind all others.
inline const TraceLine kStart{4, "CLoggerConf::CLoggerConf() [START]"};
inline const TraceLine kEnd{4, "CLoggerConf::CLoggerConf() [END]"};

// The record that the installed settings files hold.
inline CLoggerConf Load() {
    return {KzmPaths::kAgentConfig, KzmPaths::kAlertConfig};
}

// A property that a part has in its object.
struct PropertyRow {
    std::string name;
    std::string kind; // of the operation that reads and sets it
};

template <class Part>
Part WithStatus(Part part, int status) {
    part.m_iStatus = status;
    return part;
}
