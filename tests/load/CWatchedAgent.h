#pragma once

#include "tests/support/CTestRoot.h"

#include <string>
#include <vector>

// An agent whose service commands note what the settings files hold when they are run. They run
// under the provider lock, so the notes are in its order.
class CWatchedAgent {
public:
    struct Note {
        std::string m_sCommand;
        std::string m_sFiles; // agent.cfg, then alert.cfg, then a line if the provider lock is free
    };

    // Takes the place of the agent below this root.
    explicit CWatchedAgent(const CTestRoot& root);

    static constexpr char kStop[] = "ServiceStop";
    static constexpr char kStart[] = "ServiceStart";

    // Every note so far, in order.
    [[nodiscard]] std::vector<Note> Notes() const;

private:
    std::string m_sNotes;
};

// Gives the root an agent that is installed and whose service stops and starts at once.
void InstallFastAgent(const CTestRoot& root);
