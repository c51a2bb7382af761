#include "loggerctl/commands/CommandLine.h"

#include "KzmPaths.h"
#include "loggerctl/commands/Commands.h"
#include "loggerctl/output/SafeText.h"
#include "loggerctl/record/Keys.h"
#include "loggerctl/record/Suggestion.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <exception>
#include <sstream>

namespace commands {

namespace {

using output::CAnswer;
using output::CConsole;
using output::ExitCode;
using output::Fail;
using output::Format;

constexpr char kJson[] = "json";
constexpr char kText[] = "text";

struct COptions {
    agent::CProviderFiles m_files{KzmPaths::kProviderLibrary, KzmPaths::kClassDefinitions};
    std::string m_format = kText;
    bool m_json = false; // a command's own --json
    bool m_quiet = false;
    CGetOptions m_get;
    CSetOptions m_set;
    std::optional<std::string> m_diffId;
    std::optional<std::string> m_diffUntilId;
    CRestoreOptions m_restore;
    CServiceOptions m_service;
};

// ---- Help ----

constexpr std::size_t kColumns = 80;
constexpr std::size_t kOptionColumn = 26; // where descriptions begin

// Breaks a description into lines that leave room for the options before them.
std::string Broken(const std::string& description) {
    return output::BrokenIntoLines(description, kColumns - kOptionColumn);
}

std::string KeysHelp() {
    std::string text = "Keys:";
    for (const std::string& name : record::KeyNames()) {
        text += "\n  " + name;
    }
    return text + "\n\n"
                  "A file system's NAME is its mount point, raw or as the tables print it; with\n"
                  "* ? [ it is a pattern for many, in which * stands for slashes, too. The last\n"
                  "dot ends the name. fs[NAME].enable is the same as fs:NAME.enable.\n";
}

constexpr char kGetHelp[] =
    "\n"
    "The groups syslog, cpu, memory and fs stand for all keys of theirs. Groups alone\n"
    "give tables. A key gives its value alone; patterns, and groups among keys, give\n"
    "lines KEY=VALUE, which \"loggerctl set\" takes.\n"
    "\n"
    "Examples:\n"
    "  loggerctl get fs --monitored\n"
    "  loggerctl get cpu.threshold\n"
    "  loggerctl get 'fs:/srv/*.threshold'\n"
    "  loggerctl get --format=json --usage\n"
    "\n";

constexpr char kSetHelp[] =
    "\n"
    "A switch is true, false, on, off, yes, no, 1 or 0; every other value is a whole\n"
    "number.\n"
    "\n"
    "Before the agent's service is stopped, the change is tried out on copies in\n"
    "memory, and the files are kept: \"loggerctl history\" lists the copies, \"loggerctl\n"
    "restore\" puts them back.\n"
    "\n"
    "Some changes take away more than was asked for, and need --force:\n"
    "  - While fs.enable is false no file system is monitored: each one's own switch\n"
    "    is turned off in the file, and fs.enable=true does not bring it back.\n"
    "  - Entries of file systems that are not mounted go from alert.cfg.\n"
    "  - Numbers in alert.cfg that cannot be read become 0.\n"
    "Comments and indentation on lines of file systems go, too; a note names them.\n"
    "\n"
    "A record may lack settings and file systems: these stay as they are.\n"
    "\n"
    "Examples:\n"
    "  loggerctl set cpu.threshold=90 memory.enable=off\n"
    "  loggerctl set --dry-run fs:/home.enable=true fs:/home.threshold=85\n"
    "  loggerctl set 'fs:/srv/*.threshold=90'\n"
    "  loggerctl get --json > settings.json\n"
    "  loggerctl set --json settings.json\n"
    "  ssh other loggerctl get --json | loggerctl set --json - --skip-unmounted\n"
    "\n";

constexpr char kDoctorHelp[] =
    "Looks at the agent, its device description and commands, both settings files,\n"
    "the locks, the history, the mount command, the provider and the management\n"
    "server. Each has a line: ok, missing, wrong, or not looked at, with the reason.\n"
    "What is missing or wrong has the command below it that mends it.\n"
    "\n"
    "It changes nothing, and ends with 0 when all is well, with 4 when something\n"
    "needs mending, and otherwise with 8 when something is for root alone to see.\n"
    "\n";

// ---- The commands ----

CLI::App* AddCommand(CLI::App* app, const char* name, const std::string& description,
                     const std::string& help = "") {
    CLI::App* command = app->add_subcommand(name, Broken(description));
    command->footer(help + output::ExitCodeHelp());
    command->group("Commands");
    command->fallthrough();
    return command;
}

void AddFlag(CLI::App* command, const char* name, bool* value, const std::string& description) {
    command->add_flag(name, *value, Broken(description));
}

void AddWait(CLI::App* command, std::chrono::seconds* wait) {
    constexpr int kLongest = 86400;
    CLI::Option* option =
        command
            ->add_option_function<int>(
                "--wait", [wait](int seconds) { *wait = std::chrono::seconds(seconds); },
                Broken("How long to wait for other changes (60)"))
            ->option_text("SECONDS")
            ->check([](const std::string& text) {
                return CLI::Range(0, kLongest)(text).empty()
                           ? ""
                           : "must be a whole number from 0 to " + std::to_string(kLongest) +
                                 ", not '" + text + "'.";
            });
    command
        ->add_flag_function(
            "--no-wait", [wait](std::int64_t) { *wait = std::chrono::seconds(0); },
            Broken("Do not wait for other changes"))
        ->option_text(" ")
        ->excludes(option);
}

void AddId(CLI::App* command, std::optional<std::string>* id, const std::string& description,
           const char* name = "ID") {
    command
        ->add_option_function<std::string>(
            name, [id](const std::string& text) { *id = text; }, Broken(description))
        ->option_text(" ");
}

void AddGet(CLI::App* app, COptions* options) {
    CLI::App* get = AddCommand(app, "get", "Show the settings of the log-monitoring agent",
                               KeysHelp() + kGetHelp);
    CLI::Option* keys = get->add_option("KEY", options->m_get.m_words,
                                        Broken("Show these keys or groups of keys alone"));
    keys->option_text("...");
    get->add_flag("--json", options->m_json, Broken("Print the settings as JSON; not with keys"))
        ->option_text(" ")
        ->excludes(keys);
    AddFlag(get, "--monitored", &options->m_get.m_monitored,
            "Leave out file systems that are not monitored");
    AddFlag(get, "--no-usage", &options->m_get.m_noUsage,
            "Do not ask how full the file systems are");
    AddFlag(get, "--usage", &options->m_get.m_usage,
            "Say in JSON, too, how full the file systems are");
}

void AddSet(CLI::App* app, COptions* options) {
    CLI::App* set = AddCommand(app, "set", "Change settings and restart the agent's service",
                               KeysHelp() + kSetHelp);
    CLI::Option* assignments = set->add_option("KEY=VALUE", options->m_set.m_assignments,
                                               Broken("Give these settings these values"));
    assignments->option_text("...");
    CLI::Option* record = set->add_option(
        "--json", options->m_set.m_recordFile,
        Broken("Take settings from a file as \"get --json\" prints it, or a part of it; - is "
               "standard input"));
    record->option_text("FILE")->excludes(assignments);
    AddFlag(set, "--dry-run", &options->m_set.m_dryRun,
            "Show what would change in the files as a unified diff, and change nothing");
    AddFlag(set, "--force", &options->m_set.m_force,
            "Go on in spite of warnings, and when nothing would change");
    set->add_flag("--skip-unmounted", options->m_set.m_skipUnmounted,
                  Broken("Leave out the record's file systems that are not mounted"))
        ->option_text(" ")
        ->needs(record);
    AddWait(set, &options->m_set.m_wait);
}

void AddOthers(CLI::App* app, COptions* options) {
    AddFlag(AddCommand(app, "history", "List the kept copies of the settings files"), "--json",
            &options->m_json, "Print the list as JSON");
    CLI::App* diff = AddCommand(app, "diff", "Show what has changed since a copy was kept");
    AddId(diff, &options->m_diffId,
          "The copy, by ID or by number, of which the newest is 1; the newest one when it is "
          "left out");
    AddId(diff, &options->m_diffUntilId,
          "Another copy, to be compared with it in place of the files as they are now", "UNTIL");
    CLI::App* restore =
        AddCommand(app, "restore", "Put the settings files back as they were in a copy");
    AddId(restore, &options->m_restore.m_id,
          "The copy, by ID or by number; when it is left out, that of a restore that did not "
          "come to its end, or the newest one");
    AddFlag(restore, "--dry-run", &options->m_restore.m_dryRun,
            "Show what would change in the files, and change nothing");
    AddFlag(restore, "--force", &options->m_restore.m_force,
            "Also when the files are already as in the copy, or are not valid there");
    AddWait(restore, &options->m_restore.m_wait);
    CLI::App* service =
        AddCommand(app, "service", "Start, stop or restart the agent's service, or ask it");
    service
        ->add_option("ACTION", options->m_service.m_action,
                     Broken("start, stop, restart or status"))
        ->option_text(" ")
        ->required();
    AddWait(service, &options->m_service.m_wait);
    AddCommand(app, "doctor", "Say what is missing or wrong on this host, and what mends it",
               kDoctorHelp);
}

void AddGeneral(CLI::App* app, COptions* options) {
    app->footer(output::ExitCodeHelp());
    app->get_formatter()->label("SUBCOMMAND", "COMMAND");
    app->get_formatter()->column_width(kOptionColumn);
    app->require_subcommand(1);
    app->set_version_flag("--version", std::string("loggerctl ") + KZM_VERSION,
                          Broken("Print the version and exit"));
    app->add_option("--format", options->m_format,
                    Broken("text or json; json gives one document for every command, failures "
                           "included"))
        ->type_name("FORMAT")
        ->check([](const std::string& text) {
            return text == kText || text == kJson ? ""
                                                  : "must be text or json, not '" + text + "'.";
        });
    AddFlag(app, "-q,--quiet", &options->m_quiet, "Say nothing but why something failed");
    app->add_option("--provider", options->m_files.m_library,
                    Broken("The provider library to load"))
        ->type_name("FILE");
    app->add_option("--definitions", options->m_files.m_definitions,
                    Broken("The class definitions to use"))
        ->type_name("FILE");
}

// ---- What is wrong with a command line, better than the parser says it ----

std::vector<std::string> OptionNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::Option* option : app.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            names.push_back("--" + name);
        }
    }
    return names;
}

std::string UnknownWord(const CLI::App& app, const CLI::App* command, const std::string& word) {
    const std::string shown = "'" + output::Escape(word) + "'";
    if (word.rfind('-', 0) == 0) {
        std::vector<std::string> names = OptionNames(app);
        const std::vector<std::string> own =
            command == nullptr ? std::vector<std::string>() : OptionNames(*command);
        names.insert(names.begin(), own.begin(), own.end());
        return "Unknown option " + shown + "." +
               record::Question(word.substr(0, word.find('=')), names);
    }
    if (command != nullptr) {
        return "The argument " + shown + " is one too many.";
    }
    std::vector<std::string> names;
    for (const CLI::App* known : app.get_subcommands({})) {
        names.push_back(known->get_name());
    }
    return "Unknown command " + shown + "." + record::Question(word, names);
}

// What the parser says in words of its own.
std::string WrongOption(const CLI::App& app, const CLI::App* command, const CLI::ParseError& end) {
    std::string text = end.what();
    const std::string name = text.substr(0, text.find(": "));
    const CLI::App& owner = command == nullptr ? app : *command;
    const auto code = static_cast<CLI::ExitCodes>(end.get_exit_code());
    if (code == CLI::ExitCodes::ArgumentMismatch) {
        const CLI::Option* option = owner.get_option_no_throw(name);
        option = option == nullptr ? app.get_option_no_throw(name) : option;
        const std::string value = option == nullptr                   ? ""
                                  : option->get_option_text().empty() ? option->get_type_name()
                                                                      : option->get_option_text();
        return name + " has no value: write " + name + " " + value + ".";
    }
    if (code == CLI::ExitCodes::ExcludesError) {
        const std::string between = " excludes ";
        const std::size_t at = text.find(between);
        const std::string first = text.substr(0, at);
        const std::string second = text.substr(at + between.size());
        return first + " and " + second + " do not go together." +
               (first == "KEY" ? " With keys, --format=json prints JSON." : "");
    }
    if (code == CLI::ExitCodes::ValidationError) {
        return text.size() == name.size() ? text : name + " " + text.substr(name.size() + 2);
    }
    if (code == CLI::ExitCodes::RequiresError) {
        return text + ".";
    }
    if (code == CLI::ExitCodes::RequiredError) {
        return "An action is missing: start, stop, restart or status.";
    }
    return text;
}

// Ends a command line that was not run: asked for help or the version, or wrong.
Result Finish(const CLI::App& app, const CLI::ParseError& end) {
    std::ostringstream text;
    std::ostringstream ignored;
    if (app.exit(end, text, ignored) == 0) {
        CAnswer answer;
        answer.m_text = text.str();
        answer.m_document = {{"text", text.str()}};
        return answer;
    }
    const std::vector<CLI::App*> commands = app.get_subcommands();
    const CLI::App* command = commands.empty() ? nullptr : commands.front();
    const std::vector<std::string> rest = app.remaining(true);
    std::string problem = output::Escape(WrongOption(app, command, end));
    if (!rest.empty()) {
        problem = UnknownWord(app, command, rest.front());
    } else if (command == nullptr &&
               end.get_exit_code() == static_cast<int>(CLI::ExitCodes::RequiredError)) {
        problem = "A command is missing.";
    }
    const std::string help =
        command == nullptr ? "loggerctl --help" : "loggerctl " + command->get_name() + " --help";
    return Fail(ExitCode::Usage, problem, {"See \"" + help + "\"."});
}

// Also of a command line that could not be parsed.
bool IsJsonAsked(int argumentCount, const char* const* arguments) {
    for (int i = 1; i < argumentCount; ++i) {
        const std::string word = arguments[i];
        if (word == "--format=json" ||
            (word == kJson && std::string(arguments[i - 1]) == "--format")) {
            return true;
        }
    }
    return false;
}

Result RunCommand(const CLI::App& app, const COptions& options, CConsole* console) {
    const std::string name = app.get_subcommands().front()->get_name();
    if (name == "get") {
        return Get(*console, options.m_files, options.m_get);
    }
    if (name == "set") {
        return Set(console, options.m_files, options.m_set);
    }
    if (name == "history") {
        return History();
    }
    if (name == "diff") {
        return Diff(options.m_diffId, options.m_diffUntilId);
    }
    if (name == "doctor") {
        return Doctor(options.m_files);
    }
    return name == "restore" ? Restore(console, options.m_restore)
                             : Service(console, options.m_service);
}

// What nobody foresaw, such as a want of memory, is a failure like others.
Result RunGuarded(const CLI::App& app, const COptions& options, CConsole* console) {
    try {
        return RunCommand(app, options, console);
    } catch (const std::exception& exception) {
        return Fail(ExitCode::Failure,
                    "The command was given up: " + output::Escape(exception.what()) + ".",
                    {"\"loggerctl diff\" and \"loggerctl service status\" tell whether it had "
                     "changed anything."});
    }
}

} // namespace

ExitCode Run(int argumentCount, const char* const* arguments) {
    COptions options;
    CLI::App app("Shows, changes and restores the settings of the log-monitoring agent.",
                 "loggerctl");
    AddGeneral(&app, &options);
    AddGet(&app, &options);
    AddSet(&app, &options);
    AddOthers(&app, &options);
    try {
        app.parse(argumentCount, arguments);
    } catch (const CLI::ParseError& end) {
        const bool isJson = IsJsonAsked(argumentCount, arguments);
        return CConsole(isJson ? Format::Json : Format::Text, false).Finish(Finish(app, end));
    }
    const bool isJson = options.m_json || options.m_format == kJson;
    CConsole console(isJson ? Format::Json : Format::Text, options.m_quiet);
    return console.Finish(RunGuarded(app, options, &console));
}

} // namespace commands
