#include "tests/fault/CToolRun.h"

#include "KzmPaths.h"
#include "history/CDescriptor.h"
#include "loggerctl/commands/CommandLine.h"
#include "tests/support/Descriptors.h"
#include "tests/system/loggerctl/SampleHistory.h"

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <exception>
#include <iterator>
#include <sstream>

using std::string;

namespace {

constexpr std::chrono::seconds kLongestLife{10}; // of what a dead process leaves behind
constexpr int kExceptionEscaped = 99;

// A file in memory that a process writes to and its parent reads.
class CMemory {
public:
    CMemory() : m_iDescriptor(memfd_create("output", 0)) { EXPECT_NE(-1, m_iDescriptor); }
    ~CMemory() { close(m_iDescriptor); }
    CMemory(const CMemory&) = delete;
    CMemory& operator=(const CMemory&) = delete;

    [[nodiscard]] int Get() const { return m_iDescriptor; }
    [[nodiscard]] string Text() const {
        string text;
        std::array<char, 4096> buffer{};
        lseek(m_iDescriptor, 0, SEEK_SET);
        ssize_t count = 0;
        while ((count = read(m_iDescriptor, buffer.data(), buffer.size())) > 0) {
            text.append(buffer.data(), static_cast<std::size_t>(count));
        }
        return text;
    }

private:
    const int m_iDescriptor;
};

// For the traced process: the command, as main runs it. Writes down what it left open.
int RunCommand(const std::vector<string>& words, int leaked) {
    std::vector<const char*> arguments{LOGGERCTL_PROGRAM, "--provider", PROVIDER_LIBRARY,
                                       "--definitions", CLASS_DEFINITIONS};
    std::transform(words.begin(), words.end(), std::back_inserter(arguments),
                   [](const string& word) { return word.c_str(); });
    const auto before = Descriptors();
    int code = kExceptionEscaped;
    CTracedProcess::OpenWindow();
    try {
        code =
            static_cast<int>(commands::Run(static_cast<int>(arguments.size()), arguments.data()));
    } catch (const std::exception&) {
        code = kExceptionEscaped; // main has a word for it
    }
    CTracedProcess::CloseWindow();
    for (const auto& [number, file] : Descriptors()) {
        if (before.count({number, file}) == 0) {
            history::CDescriptor::WriteAll(leaked, file + "\n");
        }
    }
    return code;
}

std::vector<string> Lines(const string& text) {
    std::vector<string> lines;
    std::istringstream stream(text);
    for (string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

} // namespace

bool CToolObservation::IsServiceStopped() const {
    return !m_serviceCalls.empty() && m_serviceCalls.back() == "ServiceStop";
}

std::ostream& operator<<(std::ostream& out, const CToolObservation& observation) {
    out << "exit code " << observation.m_iExitCode << ", fault "
        << (observation.m_bMet ? "met" : "not met") << "\n---- output\n"
        << observation.m_sOutput << "---- error\n"
        << observation.m_sError << "----\n";
    for (const string& file : observation.m_leaked) {
        out << "left open: " << file << '\n';
    }
    for (const string& call : observation.m_serviceCalls) {
        out << "ran: " << call << '\n';
    }
    for (const string& name : observation.m_history) {
        out << "in the history: " << name << '\n';
    }
    return out << "agent.cfg:\n" << observation.m_sAgent << "alert.cfg:\n" << observation.m_sAlert;
}

CToolRun::CToolRun(const CToolCommand& command) : m_command(command) {
    command.m_pPrepare();
}

CToolObservation CToolRun::Run(const CSystemCallFault& fault) {
    const CMemory output;
    const CMemory error;
    const CMemory leaked;
    CToolObservation observation;
    observation.m_historyBefore = SampleHistory::Names();
    m_end = CTracedProcess::Run(
        [&] {
            dup2(output.Get(), STDOUT_FILENO);
            dup2(error.Get(), STDERR_FILENO);
            return RunCommand(m_command.m_words, leaked.Get());
        },
        fault);
    observation.m_bOrphansEnded = m_orphans.HaveEnded(kLongestLife);
    observation.m_iExitCode = m_end.m_iStatus;
    observation.m_bMet = m_end.m_bMet;
    observation.m_sOutput = output.Text();
    observation.m_sError = error.Text();
    observation.m_leaked = Lines(leaked.Text());
    for (const string& call : m_root.VendorCalls()) {
        if (call != "CheckInstall") {
            observation.m_serviceCalls.push_back(call);
        }
    }
    observation.m_sAgent = ReadFile(KzmPaths::kAgentConfig);
    observation.m_sAlert = ReadFile(KzmPaths::kAlertConfig);
    observation.m_history = SampleHistory::Names();
    return observation;
}
