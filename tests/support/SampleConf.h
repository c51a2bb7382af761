#pragma once

#include "settings/CLoggerConf.h"
#include "tests/support/CTraceCapture.h"

#include <string>

// The settings that the files and the mount table of a new CTestRoot hold.
CLoggerConf SampleConf();

// Settings that differ from the sample in both files, and what the sample's files hold once they
// were written.
CLoggerConf ChangedConf();
std::string ChangedAgent();
std::string ChangedAlert();

// The text with the first occurrence of a part of it exchanged for another.
std::string Replace(std::string text, const std::string& from, const std::string& to);

// The lines that dumping the sample traces.
TraceLines SampleDump();
