#pragma once

#include "loggerctl/record/Request.h"

#include <string>
#include <vector>

// What a change does besides what was asked for, and what is hardly meant. Each function gives
// sentences that are safe to print.
namespace record {

// One for each setting that was asked for and looks like a slip: a threshold that is no percentage,
// an interval or a count of 0 or beyond what the agent's file holds as a positive number, and a
// file system that is switched on while the file-system monitor as a whole is off.
std::vector<std::string> FindSlips(const CRequest& request);

// File systems whose own switch the provider turns off, because the file-system monitor as a whole
// is off in the request: one sentence that counts and names them, or none.
std::vector<std::string> FindLostSwitches(const CLoggerConf& request);

// Entries of alert.cfg that go, because their file systems are not mounted: one for each.
std::vector<std::string> FindLostEntries(const std::string& alertText, const CLoggerConf& wanted);

// Numbers of alert.cfg that are none, and would be written as 0.
std::vector<std::string> FindLostNumbers(const std::string& alertText, const CLoggerConf& wanted);

// What else stands on lines of file systems, and goes when they are written anew: comments,
// indentation, carriage returns. Entries that go as a whole are left out.
std::vector<std::string> FindLostText(const std::string& alertText, const CLoggerConf& wanted);

} // namespace record
