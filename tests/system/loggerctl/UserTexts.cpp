#include "tests/system/loggerctl/UserTexts.h"

#include "tests/support/CProgram.h"

#include <array>
#include <cstdio>
#include <memory>
#include <sstream>

namespace {

// The first words of the lines below a heading.
UserTexts::Names HelpSection(const std::string& help, const std::string& heading,
                             const std::regex& word) {
    UserTexts::Names names;
    bool inside = false;
    for (const std::string& line : UserTexts::Lines(help)) {
        inside = line == heading || (inside && !line.empty());
        std::smatch match;
        if (inside && std::regex_search(line, match, word)) {
            names.insert(match.str(1));
        }
    }
    return names;
}

} // namespace

UserTexts::Names UserTexts::AllMatches(const std::string& text, const std::regex& pattern) {
    Names names;
    for (std::sregex_iterator at(text.begin(), text.end(), pattern), end; at != end; ++at) {
        names.insert(at->str());
    }
    return names;
}

std::vector<std::string> UserTexts::Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    std::string line;
    while (std::getline(stream, line)) {
        lines.push_back(line);
    }
    return lines;
}

std::string UserTexts::Quoted(const std::string& text) {
    return "'" + std::regex_replace(text, std::regex("'"), "'\\''") + "'";
}

std::string UserTexts::OutputOf(const std::string& command) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(
        popen(("{ " + command + "; } 2>&1").c_str(), "r"), pclose);
    std::string text;
    std::array<char, 4096> buffer{};
    while (const std::size_t count = fread(buffer.data(), 1, buffer.size(), pipe.get())) {
        text.append(buffer.data(), count);
    }
    return text;
}

std::string UserTexts::Help(const std::string& command) {
    return CProgram(command.empty() ? CProgram::Words{"--help"}
                                    : CProgram::Words{command, "--help"})
        .Run()
        .m_sOutput;
}

UserTexts::CommandOptions UserTexts::OptionsInHelp() {
    const std::regex option("^  (?:-[a-z],)?(--[a-z-]+)");
    CommandOptions options{{"", HelpSection(Help(""), "Options:", option)}};
    for (const std::string& command :
         HelpSection(Help(""), "Commands:", std::regex("^  ([a-z]+)"))) {
        options[command] = HelpSection(Help(command), "Options:", option);
        options[command].erase("--help");
    }
    return options;
}
