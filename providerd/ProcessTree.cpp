#include "providerd/ProcessTree.h"

#include <signal.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace providerd {

namespace {

namespace fs = std::filesystem;

// 0 when there is none.
pid_t NumberAt(const char* text) {
    constexpr int kDecimal = 10;
    return static_cast<pid_t>(std::strtol(text, nullptr, kDecimal));
}

// 0 when there is no such process any more. Its line is "ID (NAME) STATE PARENT ..."; the name may
// hold anything.
pid_t ParentOf(const fs::path& folder) {
    std::ifstream file(folder / "stat");
    std::string line;
    std::getline(file, line, '\0');
    const std::size_t name = line.rfind(") ");
    return name == std::string::npos ? 0 : NumberAt(line.c_str() + name + 4);
}

void Kill(pid_t process) {
    kill(-process, SIGKILL);
    kill(process, SIGKILL); // it may have left its group
}

} // namespace

std::vector<pid_t> ChildrenOf(pid_t process) {
    std::vector<pid_t> children;
    std::error_code error; // what is not there has no children
    for (fs::directory_iterator entry("/proc", error), end; entry != end; entry.increment(error)) {
        const pid_t id = NumberAt(entry->path().filename().c_str());
        if (id > 0 && ParentOf(entry->path()) == process) {
            children.push_back(id);
        }
    }
    return children;
}

void KillWithPrograms(pid_t leader) {
    kill(-leader, SIGSTOP); // so that it starts nothing meanwhile
    std::vector<pid_t> programs;
    for (const pid_t child : ChildrenOf(leader)) {
        for (const pid_t program : ChildrenOf(child)) {
            programs.push_back(program);
        }
    }
    Kill(leader);
    for (const pid_t program : programs) {
        Kill(program);
    }
}

} // namespace providerd
