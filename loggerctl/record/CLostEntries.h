#pragma once

#include "settings/CLoggerConf.h"

#include <string>
#include <vector>

// Entries of alert.cfg that go with every change, because their file systems are not mounted.
class CLostEntries {
public:
    // One sentence, safe to print, for each file system that has an entry in the file's text but no
    // row in the settings that are to be written.
    static std::vector<std::string> Find(const std::string& alertText, const CLoggerConf& wanted);
};
