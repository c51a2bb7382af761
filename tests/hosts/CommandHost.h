#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include <sys/types.h>

// Host programs that run commands.
namespace CommandHost {

using Words = std::vector<std::string>;
using Clock = std::chrono::steady_clock;

// Runs the host in a process of its own, which lives for half a minute at most, and returns what
// the function returned; "ended by SEGV" when a signal ended it.
std::string In(const std::function<std::string()>& host);

// For hosts. Run a command and return its answer, and behind it what was traced of it at level 2,
// as in "3" and "127 \"/missing\" cannot be started (...); check the command line".
std::string RunCommand(const Words& words, int timeoutSeconds = 20);
std::string RunShell(const std::string& script, int timeoutSeconds = 20);

// For hosts. What a command could leave behind in them: open descriptors, mappings, threads, and
// children to collect, also those that only a wait with __WALL sees; they are collected.
std::string Belongings();

double SecondsSince(Clock::time_point begin);

// A file without a name, which commands reach by its path as long as this process lives.
class CSharedFile {
public:
    CSharedFile();
    ~CSharedFile();
    CSharedFile(const CSharedFile&) = delete;
    CSharedFile& operator=(const CSharedFile&) = delete;

    [[nodiscard]] const std::string& Path() const { return m_sPath; }
    // The process whose id it holds; 0 when it holds none.
    [[nodiscard]] pid_t Process() const;
    // Kills that process, if there is one.
    void KillProcess() const;

private:
    int m_iDescriptor;
    std::string m_sPath;
};

} // namespace CommandHost
