#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

// A daemon's configuration file: lines "Name=value", blank lines, and lines whose first character
// other than a blank is "#". Blanks around name and value do not count. Names are compared exactly,
// and stand there once.
//
// Each value that is asked for is checked; what is wrong is collected, so that all of it can be
// told at once.
class CConfigFile {
public:
    // Reads the file. One that is missing has no lines: every value is then its default. That it
    // cannot be read, or is larger than kBytes, is a problem.
    static constexpr std::size_t kBytes = 65536;
    static CConfigFile Read(const std::string& path);
    // The same for a text that `path` is said to hold.
    static CConfigFile OfText(const std::string& path, const std::string& text);

    // The value, or the default where the name is not given, or what is given is no such value.
    std::string TakeText(const std::string& name, const std::string& absent);
    // Words that commas or blanks separate.
    std::vector<std::string> TakeWords(const std::string& name,
                                       const std::vector<std::string>& absent);
    // A decimal number from minimum to maximum.
    unsigned long TakeNumber(const std::string& name, unsigned long absent, unsigned long minimum,
                             unsigned long maximum);

    // Notes that the value of this name, which was taken, does not do: "PATH, line 3: Name: WHAT".
    void Refuse(const std::string& name, const std::string& what);

    // What is wrong, a line each in the file's order, safe to print: "PATH, line 3: what is wrong
    // and what to do".
    // Lines that are no "Name=value", names given twice, and names that nobody took are among it.
    [[nodiscard]] std::vector<std::string> Problems() const;

private:
    struct CLine {
        std::size_t m_line = 0; // from 1
        std::string m_value;
        bool m_taken = false;
    };
    struct CProblem {
        std::size_t m_line = 0; // 0: of the file as a whole
        std::string m_text;
    };

    void TakeLine(std::size_t line, const std::string& text);
    // The line that gives the name; null when none does.
    const CLine* Take(const std::string& name);
    [[nodiscard]] std::string Worded(const CProblem& problem) const;

    std::string m_path;
    std::map<std::string, CLine> m_lines;
    std::vector<CProblem> m_problems;
};
