#include "bench/ToolBench.h"

#include "bench/Measuring.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

using Measuring::Operation;
using Words = std::vector<std::string>;

namespace {

constexpr char kNowhere[] = "/dev/null";
constexpr char kSetOutput[] = KZM_BENCH_ROOT "/set.output";

void Require(bool good, const std::string& what) {
    if (!good) {
        std::fprintf(stderr, "loggerctl %s failed\n", what.c_str());
        std::abort(); // a failing run must not be taken for a fast one
    }
}

// One run, to its end, with its output in a file.
void RunTool(Words words, const char* output) {
    const std::string command = words.front();
    words.insert(words.begin(), {TOOL_PROGRAM, "--provider", PROVIDER_LIBRARY, "--definitions",
                                 CLASS_DEFINITIONS});
    std::vector<char*> arguments;
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output, O_WRONLY | O_CREAT | O_TRUNC,
                                     0600);
    pid_t child = -1;
    Require(posix_spawn(&child, TOOL_PROGRAM, &actions, nullptr, arguments.data(), environ) == 0,
            command);
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    Require(waitpid(child, &status, 0) == child && status == 0, command);
}

Measuring::Prepare Get(Words words) {
    return [words = std::move(words)] { return [words] { RunTool(words, kNowhere); }; };
}

// Two values in turns, so that every run has something to change.
Operation Set() {
    return [] {
        static bool odd = false;
        odd = !odd;
        RunTool({"set", odd ? "cpu.threshold=81" : "cpu.threshold=82"}, kSetOutput);
    };
}

} // namespace

void RegisterTool() {
    Measuring::RegisterUntraced("loggerctl set", Set);
    Measuring::RegisterUntraced("loggerctl get", Get({"get"}));
    Measuring::RegisterUntraced("loggerctl get --json", Get({"get", "--json"}));
    Measuring::RegisterUntraced("loggerctl get KEY", Get({"get", "cpu.threshold"}));
}
