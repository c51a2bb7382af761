#pragma once

#include <string>

// The difference of two texts as people and patch(1) read it.
class CUnifiedDiff {
public:
    // A unified diff with three lines of context around each change, under the given names; empty
    // when the texts are equal. The texts' bytes stand in it as they are.
    static std::string Make(const std::string& oldText, const std::string& newText,
                            const std::string& oldName, const std::string& newName);

    // The diff as standard output may take it: made safe, line by line, on a terminal, and as it
    // is anywhere else, so that it can be piped to patch.
    static std::string ForOutput(const std::string& diff, bool terminal);
};
