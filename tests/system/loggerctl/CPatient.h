#pragma once

#include "tests/support/CProgram.h"
#include "tests/support/CTestRoot.h"

#include <nlohmann/json.hpp>

#include <map>
#include <optional>
#include <string>
#include <vector>

// A socket that listens, until its end.
class CListening {
public:
    static CListening AtPath(const std::string& path);
    static CListening AtPort(int port); // of the loopback address; 0: one that is free
    ~CListening();
    CListening(CListening&& other) noexcept;
    CListening& operator=(CListening&& other) noexcept;
    CListening(const CListening&) = delete;
    CListening& operator=(const CListening&) = delete;

    [[nodiscard]] int Port() const;

private:
    explicit CListening(int socket) : m_socket(socket) {}
    int m_socket;
};

// A host on which all is well: the test root with the installed product, a sample history and, if
// wanted, the management server. Then something is broken, and the doctor is asked.
//
// Users and groups are its own: root, the front end's user, who is not root, and the groups
// "kzm-readers" and "kzm-changers". The commands that the doctor names find the tool of this build,
// and in the place of package manager, editor, systemctl and what makes accounts programs that do
// what those would have done.
class CPatient {
public:
    CPatient();

    // The server's programs, configuration and certificate, and somebody who listens.
    void InstallServer();

    // Remembers how all is, for what mends it.
    void KeepAsGood() const;

    struct CAnswer {
        int m_code = 0;
        nlohmann::json m_document;

        // The names of what needs mending, and of what was not looked at.
        [[nodiscard]] std::vector<std::string> ToMend() const;
        [[nodiscard]] std::vector<std::string> NotLookedAt() const;
        // The first of this name.
        [[nodiscard]] nlohmann::json Finding(const std::string& name) const;
    };
    [[nodiscard]] CAnswer Ask(const CProgram::Words& wrapper = {}) const;

    // A run of the tool, or of a command that the doctor named, as it was printed.
    [[nodiscard]] CProgram::Result Run(const CProgram::Words& words) const;
    CProgram::Result RunInShell(const std::string& command);

    [[nodiscard]] CProgram Tool(const CProgram::Words& words) const;

    // What the editor was opened with; empty before.
    [[nodiscard]] static std::string Edited();

    const CTestRoot& Root() const { return m_root; }
    // Takes a line "NAME:..." out of the accounts' file of this name, "passwd" or "group".
    static void Forget(const std::string& name, const std::string& file);
    // Nobody listens any more.
    void StopListening(const std::string& unit) { m_listening.erase(unit); }
    [[nodiscard]] static std::string Tools(const std::string& name);

private:
    void WriteTool(const std::string& name, const std::string& script) const;
    void Listen(const std::string& unit);
    [[nodiscard]] static CProgram::Words Environment();

    const CTestRoot m_root;
    int m_port = 0;
    std::map<std::string, CListening> m_listening; // by the unit of the socket
};
