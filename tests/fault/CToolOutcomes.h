#pragma once

#include <map>
#include <set>
#include <string>
#include <tuple>

// The table of what a command does when one of its system calls fails:
// tests/fault/tool-outcomes.txt, for people to read. Below a command and how far it had come stand
// the outcomes, and below each outcome the calls and errors that lead there.
class CToolOutcomes {
public:
    // Where a call failed, and what came of it.
    using Case = std::pair<std::string, std::string>;

    // Expects that the table has all of these for the command's call; with all of its points tried,
    // also that it has no others. With KZM_UPDATE_GOLDEN=1 as well, the table is written anew.
    static void Expect(const std::string& command, const std::string& call,
                       const std::set<Case>& cases);

private:
    // The command, how far it had come, the outcome.
    using Key = std::tuple<std::string, std::string, std::string>;

    CToolOutcomes();
    [[nodiscard]] std::set<Case> CasesOf(const std::string& command, const std::string& call) const;
    void Replace(const std::string& command, const std::string& call, const std::set<Case>& cases);
    [[nodiscard]] std::string Text() const;

    std::map<Key, std::set<std::string>> m_calls;
};
