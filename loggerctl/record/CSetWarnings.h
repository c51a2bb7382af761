#pragma once

#include "loggerctl/record/CSetRequest.h"

#include <string>
#include <vector>

// What is allowed, but hardly meant.
class CSetWarnings {
public:
    // One sentence, safe to print, for each setting that was asked for and looks like a slip: a
    // threshold that is no percentage, an interval or a count of 0 or beyond what the agent's file
    // holds as a positive number, and a file system that is switched on while the file-system
    // monitor as a whole is off.
    static std::vector<std::string> Find(CSetRequest* request);
};
