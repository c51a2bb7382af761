#include "loggerctl/commands/CCommandLine.h"

#include "KzmPaths.h"
#include "loggerctl/commands/CGetCommand.h"
#include "loggerctl/commands/CSetCommand.h"
#include "loggerctl/commands/CStateCommandLine.h"
#include "loggerctl/output/COutput.h"
#include "loggerctl/output/CSafeText.h"
#include "loggerctl/output/CSuggestion.h"
#include "loggerctl/record/CSettingsKeys.h"

#include <CLI/CLI.hpp>

#include <sstream>

namespace {

struct Options {
    CProviderFiles m_files{KzmPaths::kProviderLibrary, KzmPaths::kClassDefinitions};
    CGetOptions m_get;
    CSetOptions m_set;
};

std::string KeysHelp() {
    std::string text = "Keys:";
    for (const std::string& name : CSettingsKeys::Names()) {
        text += "\n  " + name;
    }
    return text + "\n\nA file system's NAME is its mount point, raw or as the tables print it.\n";
}

CLI::App* AddGet(CLI::App* app, CGetOptions* options) {
    CLI::App* get = app->add_subcommand("get", "Show the settings of the log-monitoring agent");
    CLI::Option* keys =
        get->add_option("KEY", options->m_keys, "Print the values of these keys alone, one a line");
    keys->option_text("...");
    get->add_flag("--json", options->m_bJson, "Print the settings as JSON")->excludes(keys);
    get->add_flag("--no-usage", options->m_bNoUsage, "Do not ask how full the file systems are");
    get->footer(KeysHelp() + '\n' + CExitCodes::HelpText());
    get->group("Commands");
    get->fallthrough();
    return get;
}

constexpr char kSetHelp[] =
    "A switch is true, false, on, off, yes, no, 1 or 0; every other value is a whole number.\n"
    "\n"
    "Before the agent's service is stopped, the change is tried out on copies in memory, and the\n"
    "files are kept: \"loggerctl history\" lists the copies, \"loggerctl restore\" puts them "
    "back.\n"
    "While fs.enable is false no file system is monitored, whatever its own switch says.\n"
    "Entries of file systems that are not mounted go from alert.cfg with every change.\n"
    "\n"
    "Examples:\n"
    "  loggerctl set cpu.threshold=90 memory.enable=off\n"
    "  loggerctl set --dry-run 'fs[/home].enable=true' 'fs[/home].threshold=85'\n"
    "  loggerctl get --json > settings.json\n"
    "  loggerctl set --json settings.json\n"
    "  ssh other loggerctl get --json | loggerctl set --json - --dry-run\n"
    "\n";

CLI::App* AddSet(CLI::App* app, CSetOptions* options) {
    CLI::App* set = app->add_subcommand("set", "Change settings and restart the agent's service");
    CLI::Option* assignments =
        set->add_option("KEY=VALUE", options->m_assignments, "Give these settings these values");
    assignments->option_text("...");
    CLI::Option* record = set->add_option("--json", options->m_sRecordFile,
                                          "Take all settings from a file as \"get --json\" prints "
                                          "it; - is standard input");
    record->type_name("FILE")->excludes(assignments);
    set->add_flag("--dry-run", options->m_bDryRun,
                  "Show what would change in the files as a unified diff, and change nothing");
    set->add_flag("--force", options->m_bForce,
                  "Go on in spite of warnings, and when nothing would change");
    set->footer(KeysHelp() + kSetHelp + CExitCodes::HelpText());
    set->group("Commands");
    set->fallthrough();
    return set;
}

void AddGeneral(CLI::App* app, CProviderFiles* files) {
    app->footer(CExitCodes::HelpText());
    app->get_formatter()->label("SUBCOMMAND", "COMMAND");
    app->require_subcommand(1);
    app->set_version_flag("--version", std::string("loggerctl ") + KZM_VERSION,
                          "Print the version and exit");
    app->add_option("--provider", files->m_sLibrary, "The provider library to load")
        ->type_name("FILE");
    app->add_option("--definitions", files->m_sDefinitions, "The class definitions to use")
        ->type_name("FILE");
}

std::string UnknownWord(const CLI::App& app, const std::string& word) {
    if (word.rfind('-', 0) == 0) {
        return "Unknown option '" + CSafeText::Escape(word) + "'.";
    }
    std::vector<std::string> commands;
    for (const CLI::App* command : app.get_subcommands({})) {
        commands.push_back(command->get_name());
    }
    return "Unknown command '" + CSafeText::Escape(word) + "'." +
           CSuggestion::Question(word, commands);
}

// What is wrong with the command line, better than the parser says it where no command was found.
std::string Problem(const CLI::App& app, const CLI::ParseError& end) {
    const bool noCommand = end.get_exit_code() == static_cast<int>(CLI::ExitCodes::RequiredError) &&
                           app.get_subcommands().empty();
    if (!noCommand) {
        return CSafeText::Escape(end.what());
    }
    const std::vector<std::string> rest = app.remaining();
    return rest.empty() ? "A command is missing." : UnknownWord(app, rest.front());
}

// Ends a command line that was not run: asked for help or the version, or wrong.
ExitCode Finish(const CLI::App& app, const CLI::ParseError& end) {
    std::ostringstream output;
    std::ostringstream error;
    if (app.exit(end, output, error) == 0) {
        return COutput::Write(output.str()) ? ExitCode::Success : ExitCode::Failure;
    }
    COutput::WriteError(Problem(app, end), {"See \"loggerctl --help\"."});
    return ExitCode::Usage;
}

} // namespace

ExitCode CCommandLine::Run(int argumentCount, const char* const* arguments) {
    Options options;
    CLI::App app("Shows, changes and restores the settings of the log-monitoring agent.",
                 "loggerctl");
    AddGeneral(&app, &options.m_files);
    const CLI::App* get = AddGet(&app, &options.m_get);
    const CLI::App* set = AddSet(&app, &options.m_set);
    const CStateCommandLine state(&app);
    try {
        app.parse(argumentCount, arguments);
    } catch (const CLI::ParseError& end) {
        return Finish(app, end);
    }
    if (state.IsAsked()) {
        return state.Run();
    }
    if (set->parsed()) {
        return CSetCommand::Run(options.m_files, options.m_set);
    }
    return get->parsed() ? CGetCommand::Run(options.m_files, options.m_get) : ExitCode::Usage;
}
