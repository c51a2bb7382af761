#pragma once

#include <map>
#include <string>
#include <vector>

// A record as JSON text, stated plainly and apart from the tool, on the whole text once it is read.
class CJsonFormat {
public:
    // True when the text is a record or a part of one and nothing else: every member is known, of
    // its type and within its range, and none is given twice; every file system has a name of its
    // own.
    static bool IsRecord(const std::string& text);

    // True for the name of one of the record's parts.
    static bool IsPart(const std::string& name);

    // The values of a record by the keys of the settings, as they are printed. The space in use is
    // no setting.
    static std::map<std::string, std::string> Values(const std::string& text);

    // The names of its file systems in their order, however their bytes are given.
    static std::vector<std::string> Names(const std::string& text);
};
