#pragma once

#include "settings/CLoggerConf.h"
#include "tests/support/CTraceCapture.h"

#include <string>

// What is traced when files are read that hold only the beginnings of the sample's texts.
namespace SampleReading {

// The failure that reading both files traces; none when they make a record.
TraceLines FailureOf(const std::string& agent, const std::string& alert);

// The difference from what was asked for that a record of these files has, as it is traced; none
// when it is equal.
TraceLines DifferenceOf(const std::string& alert);

// True for a line that tells that a reader did not find what it needs.
bool IsFailure(const TraceLine& line);

// True for a line that tells that a file system has its defaults in place of its settings.
bool IsDifference(const TraceLine& line);

// The settings that files without a failure hold.
CLoggerConf RecordOf(const std::string& agent, const std::string& alert);

} // namespace SampleReading
