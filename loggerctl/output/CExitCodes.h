#pragma once

#include <array>
#include <string>

// How a command ends. Scripts rely on these numbers: none ever changes its meaning.
enum class ExitCode : int {
    Success = 0,
    Usage = 2,
    NotInstalled = 3,
    Failure = 4,
    Exception = 5,
    NotLoaded = 6,
};

struct CExitCodeEntry {
    ExitCode m_code;
    const char* m_pName;
    const char* m_pMeaning;
};

// The one home of the exit codes and what they mean.
class CExitCodes {
public:
    // In ascending order.
    static const std::array<CExitCodeEntry, 6>& All();

    static std::string Meaning(ExitCode code);

    // The table as text for the end of --help, without a final newline.
    static std::string HelpText();
};
