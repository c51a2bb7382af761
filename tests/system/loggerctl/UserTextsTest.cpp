// The help, the manual page and the completion say the same.

#include "KzmPaths.h"
#include "loggerctl/output/CExitCodes.h"
#include "loggerctl/record/CSettingsKeys.h"
#include "tests/support/CProgram.h"
#include "tests/support/CTestRoot.h"
#include "tests/system/loggerctl/CGolden.h"
#include "tests/system/loggerctl/SampleHistory.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <map>
#include <memory>
#include <regex>
#include <set>
#include <sstream>

namespace {

using Names = std::set<std::string>;
using CommandOptions = std::map<std::string, Names>; // "": the program's own

const std::regex kOption("--[a-z-]+");

Names AllMatches(const std::string& text, const std::regex& pattern) {
    Names names;
    for (std::sregex_iterator at(text.begin(), text.end(), pattern), end; at != end; ++at) {
        names.insert(at->str());
    }
    return names;
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    std::string line;
    while (std::getline(stream, line)) {
        lines.push_back(line);
    }
    return lines;
}

// What a shell command prints to both of its outputs.
std::string OutputOf(const std::string& command) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen((command + " 2>&1").c_str(), "r"),
                                                     pclose);
    std::string text;
    std::array<char, 4096> buffer{};
    while (std::size_t count = fread(buffer.data(), 1, buffer.size(), pipe.get())) {
        text.append(buffer.data(), count);
    }
    return text;
}

// ---- The help ----

std::string Help(const std::string& command) {
    return CProgram(command.empty() ? CProgram::Words{"--help"}
                                    : CProgram::Words{command, "--help"})
        .Run()
        .m_sOutput;
}

// The first words of the lines below a heading.
Names HelpSection(const std::string& help, const std::string& heading, const std::regex& word) {
    Names names;
    bool inside = false;
    for (const std::string& line : Lines(help)) {
        inside = line == heading || (inside && !line.empty());
        std::smatch match;
        if (inside && std::regex_search(line, match, word)) {
            names.insert(match.str(1));
        }
    }
    return names;
}

CommandOptions OptionsInHelp() {
    const std::regex option("^  (?:-h,)?(--[a-z-]+)");
    CommandOptions options{{"", HelpSection(Help(""), "Options:", option)}};
    for (const std::string& command :
         HelpSection(Help(""), "Commands:", std::regex("^  ([a-z]+)"))) {
        options[command] = HelpSection(Help(command), "Options:", option);
        options[command].erase("--help");
    }
    return options;
}

// ---- The manual page ----

std::string Page() {
    return std::regex_replace(ReadFile(MAN_PAGE), std::regex("\\\\-"), "-");
}

// By the heading of each command, and by the terms of the lists below it.
void FindOptionsInPage(CommandOptions* inHeadings, CommandOptions* inLists) {
    std::string command;
    std::string before;
    for (const std::string& line : Lines(Page())) {
        if (line.rfind(".SS ", 0) == 0) {
            command = line.substr(4, line.find(' ', 4) - 4);
            (*inHeadings)[command].merge(AllMatches(line, kOption));
            (*inLists)[command];
        } else if (line.rfind(".SH ", 0) == 0) {
            command.clear();
        } else if (before == ".TP") {
            (*inLists)[command].merge(AllMatches(line, kOption));
        }
        before = line;
    }
    (*inHeadings)[""] = (*inLists)[""]; // the program's own stand in a list alone
}

// The rows of the table below a heading.
std::vector<std::string> PageTable(const std::string& heading) {
    const std::string page = Page();
    const std::size_t begin = page.find("l l.\n", page.find(".SH " + heading + "\n")) + 5;
    return Lines(page.substr(begin, page.find(".TE", begin) - begin));
}

// ---- The completion ----

// The words offered behind these.
Names Completions(const std::vector<std::string>& words) {
    std::string list = LOGGERCTL_PROGRAM;
    for (const std::string& word : words) {
        list += " '" + word + "'";
    }
    const std::string script = ". " COMPLETION "; COMP_WORDS=(" + list +
                               "); COMP_CWORD=" + std::to_string(words.size()) +
                               "; _loggerctl; printf \"%s\\n\" \"${COMPREPLY[@]}\"";
    Names names;
    for (const std::string& line : Lines(
             OutputOf("bash -c '" + std::regex_replace(script, std::regex("'"), "'\\''") + "'"))) {
        names.insert(line);
    }
    names.erase("");
    return names;
}

Names WithoutOptions(const Names& all) {
    Names names;
    for (const std::string& name : all) {
        if (name.front() != '-') {
            names.insert(name);
        }
    }
    return names;
}

// The keys that are the same on every host.
Names StaticKeys(const std::string& ending) {
    Names keys;
    for (const std::string& key : CSettingsKeys::Names()) {
        if (key.find('[') == std::string::npos) {
            keys.insert(key + ending);
        }
    }
    return keys;
}

TEST(UserTexts, PageHasTheOptionsOfTheHelp) {
    CommandOptions inHeadings;
    CommandOptions inLists;
    FindOptionsInPage(&inHeadings, &inLists);
    EXPECT_EQ(inHeadings, OptionsInHelp());
    EXPECT_EQ(inLists, OptionsInHelp());
}

TEST(UserTexts, PageHasTheKeys) {
    std::vector<std::string> keys;
    for (const std::string& row : PageTable("KEYS")) {
        keys.push_back(row.substr(0, row.find('\t')));
    }
    EXPECT_EQ(keys, CSettingsKeys::Names());
}

TEST(UserTexts, PageHasTheExitCodes) {
    std::vector<std::string> wanted;
    for (const CExitCodeEntry& entry : CExitCodes::All()) {
        wanted.push_back(std::to_string(static_cast<int>(entry.m_code)) + "\t" + entry.m_pMeaning);
    }
    EXPECT_EQ(PageTable("EXIT STATUS"), wanted);
}

TEST(UserTexts, PageHasThePathsAndTheVersion) {
    const std::string root = CTestRoot::Path("");
    for (const std::string path :
         {KzmPaths::kAgentConfig, KzmPaths::kAlertConfig, KzmPaths::kHistoryFolder,
          KzmPaths::kDeviceFolder, KzmPaths::kLockFile}) {
        EXPECT_NE(Page().find(".I " + path.substr(root.size())), std::string::npos) << path;
    }
    const std::string version = Lines(CProgram({"--version"}).Run().m_sOutput).front();
    EXPECT_NE(Page().find("\"" + version + "\""), std::string::npos) << version;
}

TEST(UserTexts, PageIsSet) {
    if (OutputOf("command -v man groff tbl").empty()) {
        GTEST_SKIP() << "there is no man command here";
    }
    EXPECT_EQ(OutputOf("man --warnings -E UTF-8 -l -Tutf8 -Z " MAN_PAGE " 3>&1 >/dev/null 2>&3"),
              "");
}

TEST(UserTexts, CompletionOffersTheOptionsOfTheHelp) {
    const CTestRoot root;
    const CommandOptions options = OptionsInHelp();
    ASSERT_EQ(options.size(), 7U); // a command that is added is to be added here, too
    const Names general = options.at("");
    for (const auto& [command, own] : options) {
        SCOPED_TRACE(command);
        Names wanted = own;
        wanted.insert(general.begin(), general.end());
        EXPECT_EQ(Completions(command.empty() ? std::vector<std::string>{"-"}
                                              : std::vector<std::string>{command, "-"}),
                  wanted);
    }
}

TEST(UserTexts, CompletionOffersTheArguments) {
    const CTestRoot root;
    SampleHistory::Add(SampleHistory::kOlder, "x", "a", "b");
    SampleHistory::Add(SampleHistory::kNewer, "x", "a", "b");
    const Names ids{SampleHistory::kOlder, SampleHistory::kNewer};
    Names commands;
    for (const auto& [command, own] : OptionsInHelp()) {
        commands.insert(command);
    }
    commands.erase("");
    EXPECT_EQ(WithoutOptions(Completions({""})), commands);
    EXPECT_EQ(WithoutOptions(Completions({"--provider", "x", ""})), commands);
    EXPECT_EQ(WithoutOptions(Completions({"get", ""})), StaticKeys(""));
    EXPECT_EQ(WithoutOptions(Completions({"set", ""})), StaticKeys("="));
    EXPECT_EQ(Completions({"get", "cpu.t"}), Names{"cpu.threshold"});
    EXPECT_EQ(Completions({"set", "cpu.count", "="}), Names());
    EXPECT_EQ(WithoutOptions(Completions({"diff", ""})), ids);
    EXPECT_EQ(WithoutOptions(Completions({"restore", "--force", ""})), ids);
    EXPECT_EQ(Completions({"restore", "20260203"}), Names{SampleHistory::kNewer});
    EXPECT_EQ(WithoutOptions(Completions({"history", ""})), Names());
    EXPECT_EQ(WithoutOptions(Completions({"service", ""})), (Names{"start", "stop", "status"}));
    EXPECT_EQ(Completions({"set", "--json", "/proc/versio"}), Names{"/proc/version"});
    EXPECT_EQ(Completions({"--definitions", "/proc/versio"}), Names{"/proc/version"});
}

} // namespace
