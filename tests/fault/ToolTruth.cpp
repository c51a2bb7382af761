#include "tests/fault/ToolTruth.h"

#include "KzmPaths.h"
#include "history/History.h"
#include "tests/fault/HostRecovery.h"
#include "tests/support/CProgram.h"
#include "tests/support/ProviderLockFile.h"
#include "tests/system/loggerctl/SampleHistory.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <regex>
#include <sstream>

using std::string;

namespace {

const std::vector<string> kRestarted{"ServiceStop", "ServiceStart"};

bool Has(const string& text, const string& part) {
    return text.find(part) != string::npos;
}

bool SaysThatNothingWasDone(const string& headline, const string& text) {
    return Has(headline, "Nothing was changed.") || Has(headline, "The settings cannot be read.") ||
           (Has(headline, "Nothing was restored.") && !Has(text, "The state of the host"));
}

bool IsDone(const CToolCommand& command, const CToolObservation& observation) {
    return observation.m_sAgent == command.m_sAgent && observation.m_sAlert == command.m_sAlert &&
           observation.m_serviceCalls == kRestarted;
}

// A failure's text: on standard error, or the document's message.
string TextOf(const CToolObservation& observation) {
    return observation.m_sError.empty() ? observation.m_sOutput : observation.m_sError;
}

string Headline(const CToolObservation& observation) {
    static const std::regex kHeadline("(?:^loggerctl: |\"message\": \")([^\"\n]*)");
    std::smatch found;
    const string text = TextOf(observation);
    return std::regex_search(text, found, kHeadline) ? found.str(1) : "";
}

// The commands that a message tells, in its order.
std::vector<CProgram::Words> ToldCommands(const string& error) {
    static const std::regex kCommand(
        "loggerctl (restore [0-9]{8}-[0-9]{6}-[0-9]{3}|service start)");
    std::vector<CProgram::Words> commands;
    for (std::sregex_iterator at(error.begin(), error.end(), kCommand), end; at != end; ++at) {
        std::istringstream words(at->str(1));
        CProgram::Words command;
        for (string word; words >> word;) {
            command.push_back(word);
        }
        commands.push_back(command);
    }
    return commands;
}

bool IsCallerLockFree() {
    const int descriptor = open(KzmPaths::kCallerLock, O_RDONLY | O_CLOEXEC);
    const bool isFree = descriptor < 0 || flock(descriptor, LOCK_EX | LOCK_NB) == 0;
    close(descriptor);
    return isFree;
}

string StateOf(const string& text, const string& old, const string& wanted) {
    if (text == old) {
        return "old";
    }
    return text == wanted ? "new" : "damaged";
}

string FilesText(const CToolCommand& command, const CToolObservation& observation) {
    const string agent = StateOf(observation.m_sAgent, CTestRoot::kAgentConfig, command.m_sAgent);
    const string alert = StateOf(observation.m_sAlert, CTestRoot::kAlertConfig, command.m_sAlert);
    return agent == alert ? "files " + agent : "agent.cfg " + agent + ", alert.cfg " + alert;
}

string ServiceText(const CToolObservation& observation) {
    if (observation.m_serviceCalls.empty()) {
        return "service untouched";
    }
    if (observation.m_serviceCalls == kRestarted) {
        return "service restarted";
    }
    return observation.IsServiceStopped() ? "service stopped" : "service started";
}

// Runs what the message tells. Afterwards all is well.
void ExpectThatTheToldMends(const CToolCommand& command, const CToolObservation& observation,
                            const CTestRoot& root) {
    const std::vector<CProgram::Words> told = ToldCommands(TextOf(observation));
    for (const CProgram::Words& words : told) {
        const CProgram::Result result = CProgram(words).Run();
        EXPECT_EQ(0, result.m_iExitCode) << words.back() << ": " << result.m_sError;
    }
    const string agent = ReadFile(KzmPaths::kAgentConfig);
    const string alert = ReadFile(KzmPaths::kAlertConfig);
    EXPECT_NE("damaged", StateOf(agent, CTestRoot::kAgentConfig, command.m_sAgent)) << agent;
    EXPECT_NE("damaged", StateOf(alert, CTestRoot::kAlertConfig, command.m_sAlert)) << alert;
    EXPECT_FALSE(HostRecovery::IsStopped(root));
}

void ExpectFailureTold(const CToolCommand& command, const CToolObservation& observation,
                       const CTestRoot& root) {
    static const std::regex kKnown("[2-8]");
    EXPECT_TRUE(std::regex_match(std::to_string(observation.m_iExitCode), kKnown));
    const string text = TextOf(observation);
    EXPECT_NE("", Headline(observation));
    EXPECT_LT(1, std::count(text.begin(), text.end(), '\n'))
        << "it does not say where, or what to do";
    if (SaysThatNothingWasDone(Headline(observation), text)) {
        EXPECT_EQ(CTestRoot::kAgentConfig, observation.m_sAgent);
        EXPECT_EQ(CTestRoot::kAlertConfig, observation.m_sAlert);
        EXPECT_TRUE(observation.m_serviceCalls.empty());
        return;
    }
    if (Has(observation.m_sError, "What was asked for has been done, though.")) {
        EXPECT_TRUE(IsDone(command, observation));
        return;
    }
    ExpectThatTheToldMends(command, observation, root);
}

// The history lists what it did before, and a restore goes through and clears up.
void ExpectThatItGoesOn(const CToolObservation& observation, const CTestRoot& root) {
    const auto entries = history::List();
    ASSERT_TRUE(entries.has_value());
    std::vector<string> ids;
    for (const history::CEntry& entry : *entries) {
        ids.push_back(entry.m_id);
    }
    for (const string& name : observation.m_historyBefore) {
        EXPECT_TRUE(name.front() == '.' || std::count(ids.begin(), ids.end(), name) == 1)
            << name << " is lost";
    }
    if (observation.m_history != observation.m_historyBefore) {
        HostRecovery::ExpectRestored(root);
    }
}

// The provider keeps the lock when it has met an exception, until the process ends.
std::vector<string> HeldAtTheEnd(const CToolObservation& observation) {
    const bool isHeld = !observation.m_leaked.empty() &&
                        TextOf(observation).find("The provider met an exception") != string::npos;
    return isHeld ? std::vector<string>{KzmPaths::kLockFile} : std::vector<string>();
}

} // namespace

void ToolTruth::Expect(const CToolCommand& command, const CToolObservation& observation,
                       const CTestRoot& root, bool isErrorStreamFaulty) {
    EXPECT_EQ(HeldAtTheEnd(observation), observation.m_leaked);
    EXPECT_TRUE(observation.m_bOrphansEnded);
    EXPECT_TRUE(IsLockFree());
    EXPECT_TRUE(IsCallerLockFree());
    if (observation.m_iExitCode == 0) {
        EXPECT_TRUE(IsDone(command, observation));
        EXPECT_NE("", observation.m_sOutput);
    } else if (!isErrorStreamFaulty) {
        ExpectFailureTold(command, observation, root);
    }
    ExpectThatItGoesOn(observation, root);
}

string ToolTruth::Describe(const CToolCommand& command, const CToolObservation& observation) {
    if (observation.m_iExitCode == 0 && observation.m_sError.empty()) {
        return "0, done";
    }
    static const std::regex kId("[0-9]{8}-[0-9]{6}-[0-9]{3}");
    string text = std::to_string(observation.m_iExitCode) + " \"" +
                  std::regex_replace(Headline(observation), kId, "ID") + "\"; " +
                  FilesText(command, observation) + "; " + ServiceText(observation);
    string told;
    for (const CProgram::Words& words : ToldCommands(TextOf(observation))) {
        told += (told.empty() ? "; mends: " : ", ") + words.front() +
                (words.front() == "service" ? " start" : "");
    }
    return text + told;
}
