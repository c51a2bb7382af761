#include "tests/fault/CToolOutcomes.h"

#include "tests/support/CTestRoot.h"
#include "tests/support/WholeRun.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>

using std::string;

namespace {

constexpr char kHead[] =
    "# What loggerctl does when one of its system calls fails. Below a command and "
    "how far it had\n# come stand the outcomes, and below each outcome the calls "
    "and errors that lead there.\n";
constexpr char kOutcomeIndent[] = "  ";
constexpr char kCallIndent[] = "      ";
constexpr char kBetween[] = ", ";
constexpr std::size_t kWidth = 100;

bool IsUpdate() {
    const char* value = std::getenv("KZM_UPDATE_GOLDEN");
    return value != nullptr && value == string("1");
}

bool TakePrefix(string* text, const string& prefix) {
    if (text->rfind(prefix, 0) != 0) {
        return false;
    }
    text->erase(0, prefix.size());
    return true;
}

string Lines(const std::set<string>& calls) {
    string text;
    string line;
    for (const string& call : calls) {
        if (line.size() + call.size() > kWidth) {
            text += line + "\n";
            line.clear();
        }
        line += (line.empty() ? kCallIndent : kBetween) + call;
    }
    return text + line + "\n";
}

} // namespace

CToolOutcomes::CToolOutcomes() {
    std::istringstream file(ReadFile(TOOL_OUTCOMES));
    string command;
    string phase;
    string outcome;
    for (string line; std::getline(file, line);) {
        if (TakePrefix(&line, kCallIndent)) {
            std::istringstream calls(line);
            for (string call; std::getline(calls >> std::ws, call, ',');) {
                m_calls[{command, phase, outcome}].insert(call);
            }
        } else if (TakePrefix(&line, kOutcomeIndent)) {
            outcome = line;
        } else if (!line.empty() && line.front() != '#') {
            command = line.substr(0, line.find(kBetween));
            phase = line.substr(std::min(line.size(), command.size() + 2));
        }
    }
}

std::set<CToolOutcomes::Case> CToolOutcomes::CasesOf(const string& command,
                                                     const string& call) const {
    std::set<Case> cases;
    for (const auto& [key, calls] : m_calls) {
        if (std::get<0>(key) == command && calls.count(call) != 0) {
            cases.insert({std::get<1>(key), std::get<2>(key)});
        }
    }
    return cases;
}

void CToolOutcomes::Replace(const string& command, const string& call,
                            const std::set<Case>& cases) {
    for (auto& [key, calls] : m_calls) {
        if (std::get<0>(key) == command) {
            calls.erase(call);
        }
    }
    for (const auto& [phase, outcome] : cases) {
        m_calls[{command, phase, outcome}].insert(call);
    }
}

string CToolOutcomes::Text() const {
    string text = kHead;
    string heading;
    for (const auto& [key, calls] : m_calls) {
        if (calls.empty()) {
            continue;
        }
        const string own = std::get<0>(key) + kBetween + std::get<1>(key);
        if (own != heading) {
            text += "\n" + own + "\n";
            heading = own;
        }
        text += kOutcomeIndent + std::get<2>(key) + "\n" + Lines(calls);
    }
    return text;
}

void CToolOutcomes::Expect(const string& command, const string& call, const std::set<Case>& cases) {
    CToolOutcomes table;
    if (IsUpdate() && IsWholeRun()) {
        table.Replace(command, call, cases);
        WriteFile(TOOL_OUTCOMES, table.Text());
        return;
    }
    const std::set<Case> known = table.CasesOf(command, call);
    for (const auto& [phase, outcome] : cases) {
        EXPECT_EQ(1U, known.count({phase, outcome}))
            << "not in the table: " << command << ", " << phase << "\n  " << outcome << "\n      "
            << call;
    }
    for (const auto& [phase, outcome] : known) {
        EXPECT_TRUE(!IsWholeRun() || cases.count({phase, outcome}) == 1)
            << "in the table alone: " << command << ", " << phase << "\n  " << outcome << "\n      "
            << call;
    }
}
