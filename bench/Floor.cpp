#include "bench/Floor.h"

#include "KzmPaths.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>

extern char** environ;

namespace {

constexpr std::size_t kBufferSize = 65536;

void Require(bool good, const char* what) {
    if (!good) {
        std::perror(what);
        std::abort();
    }
}

} // namespace

void Floor::RunMountCommand() {
    FILE* pipe = popen(KzmPaths::kMountCommand, "r"); // NOLINT(cert-env33-c)
    Require(pipe != nullptr, KzmPaths::kMountCommand);
    static std::array<char, kBufferSize> buffer;
    while (std::fread(buffer.data(), 1, buffer.size(), pipe) > 0) {
    }
    pclose(pipe);
}

void Floor::RunAgentCommand() {
    char program[] = "/bin/true";
    char* arguments[] = {program, nullptr};
    pid_t child = -1;
    Require(posix_spawn(&child, program, nullptr, nullptr, arguments, environ) == 0, program);
    int status = 0;
    Require(waitpid(child, &status, 0) == child && status == 0, program);
}

std::string Floor::ReadWhole(const char* path) {
    const int descriptor = open(path, O_RDONLY);
    Require(descriptor != -1, path);
    std::string text;
    static std::array<char, kBufferSize> buffer;
    ssize_t size = 0;
    while ((size = read(descriptor, buffer.data(), buffer.size())) > 0) {
        text.append(buffer.data(), static_cast<std::size_t>(size));
    }
    close(descriptor);
    return text;
}

void Floor::WriteLines(const char* path, const std::string& text) {
    const int descriptor = open(path, O_WRONLY | O_TRUNC);
    Require(descriptor != -1, path);
    for (const char* line = text.c_str(); *line != '\0';) {
        const auto size = static_cast<std::size_t>(std::strchr(line, '\n') + 1 - line);
        Require(write(descriptor, line, size) == static_cast<ssize_t>(size), path);
        line += size;
    }
    close(descriptor);
}

void Floor::GetParameter() {
    RunAgentCommand();
    RunMountCommand();
    ReadWhole(KzmPaths::kAgentConfig);
    ReadWhole(KzmPaths::kAlertConfig);
}

void Floor::SetParameter() {
    RunAgentCommand();
    RunAgentCommand();
    const std::string agent = ReadWhole(KzmPaths::kAgentConfig);
    const std::string alert = ReadWhole(KzmPaths::kAlertConfig);
    WriteLines(KzmPaths::kAgentConfig, agent);
    WriteLines(KzmPaths::kAlertConfig, alert);
    RunMountCommand();
    RunAgentCommand();
}
