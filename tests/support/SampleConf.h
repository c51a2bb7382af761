#pragma once

#include "settings/CLoggerConf.h"
#include "tests/support/CTraceCapture.h"

// The settings that the files and the mount table of a new CTestRoot hold.
CLoggerConf SampleConf();

// The lines that dumping them traces.
TraceLines SampleDump();
