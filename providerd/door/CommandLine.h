#pragma once

#include <string>
#include <vector>

namespace providerd {

// What the words of the command line, the program's name apart, ask for.
struct CRequestedRun {
    enum class Kind { Serve, Work, Check, Help, Version, Unknown };
    Kind m_kind = Kind::Serve;
    std::string m_unknown; // the word that is not known
};
CRequestedRun RequestedRun(const std::vector<std::string>& words);

// Does what is asked for. Returns the exit status.
int RunCommandLine(const std::vector<std::string>& words);

} // namespace providerd
