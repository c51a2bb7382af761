#pragma once

#include "tests/support/CExecWords.h"

#include <functional>
#include <string>
#include <utility>
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
    // Standard input of Run comes from this file in place of /dev/null.
    void SetInput(const std::string& file) { m_sInputFile = file; }
    // Standard output goes to this file; an empty name closes it.
    void RedirectOutput(const std::string& file) {
        m_bRedirected = true;
        m_sOutputFile = file;
    }
    // Runs it by way of another program, given by its path, such as strace with its options.
    void SetWrapper(Words wrapper) { m_wrapper = std::move(wrapper); }
    // Runs another program, given by its path, with the arguments alone.
    void RunInstead(const std::string& program) {
        m_program = program;
        UseDefaultFiles();
    }
    void IgnorePipeSignal() { m_bIgnorePipeSignal = true; }

    // Standard input is /dev/null unless it was set, the outputs are pipes.
    [[nodiscard]] Result Run() const;

    // Runs it with a pipe as standard output that nobody reads.
    [[nodiscard]] Result RunIntoClosedPipe() const;

    // Runs it on a terminal of 80 columns. `seen` gets all output so far whenever there is more.
    [[nodiscard]] Result
    RunOnTerminal(const std::function<void(const std::string&)>& seen = {}) const;

private:
    [[nodiscard]] Words Command() const;
    [[noreturn]] void Execute(const CExecWords& command, const CExecWords& environment) const;

    Words m_arguments;
    std::string m_program;
    Words m_environment;
    Words m_wrapper;
    bool m_bDefaultFiles = false;
    bool m_bRedirected = false;
    bool m_bIgnorePipeSignal = false;
    std::string m_sInputFile = "/dev/null";
    std::string m_sOutputFile;
};
