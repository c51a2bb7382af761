#pragma once

#include "loggerctl/commands/CRestoreCommand.h"
#include "loggerctl/output/CExitCodes.h"

#include <string>

namespace CLI {
class App;
}

// The commands about the state that the agent is in: history, diff, restore and service.
class CStateCommandLine {
public:
    // Adds them to the program, which must not outlive this object.
    explicit CStateCommandLine(CLI::App* program);
    CStateCommandLine(const CStateCommandLine&) = delete;
    CStateCommandLine& operator=(const CStateCommandLine&) = delete;

    // Whether one of them was asked for, and running it. To be called after the parsing.
    [[nodiscard]] bool IsAsked() const;
    [[nodiscard]] ExitCode Run() const;

private:
    void AddHistory(CLI::App* program);
    void AddDiff(CLI::App* program);
    void AddRestore(CLI::App* program);
    void AddService(CLI::App* program);

    // The program's.
    CLI::App* m_pHistory = nullptr;
    CLI::App* m_pDiff = nullptr;
    CLI::App* m_pRestore = nullptr;
    CLI::App* m_pService = nullptr;

    bool m_bHistoryJson = false;
    std::string m_sDiffId;
    CRestoreOptions m_restore;
    std::string m_sServiceAction;
};
