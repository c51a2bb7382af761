#include "loggerctl/commands/CStateCommandLine.h"

#include "loggerctl/commands/CDiffCommand.h"
#include "loggerctl/commands/CHistoryCommand.h"
#include "loggerctl/commands/CServiceCommand.h"

#include <CLI/CLI.hpp>

namespace {

CLI::App* AddCommand(CLI::App* program, const char* name, const char* description) {
    CLI::App* command = program->add_subcommand(name, description);
    command->footer(CExitCodes::HelpText());
    command->group("Commands");
    command->fallthrough();
    return command;
}

void AddId(CLI::App* command, std::string* id, const char* description) {
    command->add_option("ID", *id, description)->option_text(" ");
}

} // namespace

CStateCommandLine::CStateCommandLine(CLI::App* program) {
    AddHistory(program);
    AddDiff(program);
    AddRestore(program);
    AddService(program);
}

void CStateCommandLine::AddHistory(CLI::App* program) {
    m_pHistory = AddCommand(program, "history", "List the kept copies of the settings files");
    m_pHistory->add_flag("--json", m_bHistoryJson, "Print the list as JSON");
}

void CStateCommandLine::AddDiff(CLI::App* program) {
    m_pDiff = AddCommand(program, "diff", "Show what has changed since a copy was kept");
    AddId(m_pDiff, &m_sDiffId, "The copy; the newest one when it is left out");
}

void CStateCommandLine::AddRestore(CLI::App* program) {
    m_pRestore =
        AddCommand(program, "restore", "Put the settings files back as they were in a copy");
    AddId(m_pRestore, &m_restore.m_sId,
          "The copy; when it is left out, that of an interrupted restore or the newest one");
    m_pRestore->add_flag("--force", m_restore.m_bForce,
                         "Also when the files are already as in the copy");
}

void CStateCommandLine::AddService(CLI::App* program) {
    m_pService = AddCommand(program, "service", "Start or stop the agent's service, or see to it");
    m_pService->add_option("ACTION", m_sServiceAction, "start, stop or status")
        ->option_text(" ")
        ->required();
}

bool CStateCommandLine::IsAsked() const {
    return m_pHistory->parsed() || m_pDiff->parsed() || m_pRestore->parsed() ||
           m_pService->parsed();
}

ExitCode CStateCommandLine::Run() const {
    if (m_pHistory->parsed()) {
        return CHistoryCommand::Run(m_bHistoryJson);
    }
    if (m_pDiff->parsed()) {
        return CDiffCommand::Run(m_sDiffId);
    }
    if (m_pRestore->parsed()) {
        return CRestoreCommand::Run(m_restore);
    }
    return m_pService->parsed() ? CServiceCommand::Run(m_sServiceAction) : ExitCode::Usage;
}
