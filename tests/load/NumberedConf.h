#pragma once

#include "settings/CLoggerConf.h"

#include <string>

// Settings in which every number is this one and the switches are its bits, for the file systems of
// a new CTestRoot. A mixture of two of them is neither. The number is positive.
CLoggerConf NumberedConf(int number);

// The number that settings were made from; 0 when they are none of these.
int NumberOf(const CLoggerConf& conf);

// What the two files hold, byte for byte, once these settings were written over others of the kind.
std::string NumberedAgent(int number);
std::string NumberedAlert(int number);

// The number of both files, agent.cfg first; 0 when they are not what these settings leave.
int NumberOfFiles(const std::string& bothFiles);
