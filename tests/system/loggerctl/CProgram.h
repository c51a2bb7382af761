#pragma once

#include <functional>
#include <string>
#include <vector>

// One run of loggerctl as a process of its own, against the provider of this build and the class
// definitions of the source tree. Its environment is PATH, LC_ALL=C, TERM=xterm and what is set
// here; of two values for one name the one set here counts.
class CProgram {
public:
    using Words = std::vector<std::string>;

    struct Result {
        int m_iExitCode = -1; // 128+n when signal n ended it
        std::string m_sOutput;
        std::string m_sError; // empty for a run on a terminal: both streams go to m_sOutput
    };

    explicit CProgram(Words arguments);

    void SetEnvironment(const std::string& nameAndValue) { m_environment.push_back(nameAndValue); }
    // Leaves out --provider and --definitions, which otherwise stand before the arguments.
    void UseDefaultFiles() { m_bDefaultFiles = true; }
    // Standard output goes to this file; an empty name closes it.
    void RedirectOutput(const std::string& file) {
        m_bRedirected = true;
        m_sOutputFile = file;
    }
    void IgnorePipeSignal() { m_bIgnorePipeSignal = true; }

    // Standard input is /dev/null, the outputs are pipes.
    [[nodiscard]] Result Run() const;

    // Runs it with a pipe as standard output that nobody reads.
    [[nodiscard]] Result RunIntoClosedPipe() const;

    // Runs it on a terminal of 80 columns. `seen` gets all output so far whenever there is more.
    [[nodiscard]] Result
    RunOnTerminal(const std::function<void(const std::string&)>& seen = {}) const;

private:
    [[noreturn]] void Execute() const;

    Words m_arguments;
    Words m_environment;
    bool m_bDefaultFiles = false;
    bool m_bRedirected = false;
    bool m_bIgnorePipeSignal = false;
    std::string m_sOutputFile;
};
