#include "KzmPaths.h"
#include "serverbase/ServiceManager.h"
#include "wbemd/http/CServer.h"
#include "wbemd/http/Configuration.h"
#include "wbemd/operations/COperations.h"

#include <malloc.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <csignal>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

using daemon_base::Level;
using daemon_base::Log;

namespace {

constexpr char kHelp[] =
    "Usage: kzmwbemd [--check | --help | --version]\n"
    "\n"
    "Serves management clients over HTTPS, in the foreground, until SIGTERM ends it.\n"
    "SIGHUP has it read its configuration and its certificate anew.\n"
    "\n"
    "  --check    say what is wrong with the configuration, and end\n"
    "  --help     show this text, and end\n"
    "  --version  show the version, and end\n"
    "\n";

enum ExitCode { kSuccess = 0, kFailure = 1, kUsage = 2 };

constexpr int kMappedBytes = 256 * 1024; // memory of more goes back to the system at once

int Check() {
    const auto configuration = wbemd::LoadConfiguration(KzmPaths::kWbemdConfig, false);
    for (const std::string& problem : configuration.m_problems) {
        std::cerr << problem << "\n";
    }
    for (const std::string& warning : configuration.m_warnings) {
        std::cerr << warning << "\n";
    }
    if (!configuration.m_problems.empty()) {
        return kFailure;
    }
    std::cout << KzmPaths::kWbemdConfig << ": nothing is wrong.\n";
    return kSuccess;
}

std::string SystemName() {
    std::array<char, HOST_NAME_MAX + 1> name{};
    return gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "localhost";
}

int Fail(const std::string& text) {
    Log(Level::Error, text);
    return kFailure;
}

int Serve() {
    std::signal(SIGPIPE, SIG_IGN);
    mallopt(M_MMAP_THRESHOLD, kMappedBytes);
    if (geteuid() == 0) {
        Log(Level::Warning,
            "This runs as root and needs no rights at all: run it as another user.");
    }
    std::string error;
    const auto operations = wbemd::COperations::Open(
        KzmPaths::kClassDefinitions, KzmPaths::kInteropDefinitions, SystemName(), &error);
    if (operations == nullptr) {
        return Fail(error);
    }
    wbemd::CServer::COptions options{KzmPaths::kWbemdConfig, KzmPaths::kProviderdSocket,
                                     daemon_base::TakeListeners()};
    const auto configuration =
        wbemd::LoadConfiguration(options.m_configurationPath, !options.m_listeners.empty());
    for (const std::string& problem : configuration.m_problems) {
        Log(Level::Error, problem);
    }
    if (!configuration.m_problems.empty()) {
        return kFailure;
    }
    const auto server = wbemd::CServer::Open(*operations, options, configuration, &error);
    if (server == nullptr) {
        return Fail(error);
    }
    server->Run();
    return kSuccess;
}

int Run(const std::vector<std::string>& arguments) {
    if (arguments.empty()) {
        return Serve();
    }
    const std::string& option = arguments.front();
    if (arguments.size() == 1 && option == "--check") {
        return Check();
    }
    if (arguments.size() == 1 && option == "--help") {
        std::cout << kHelp << "Configuration: " << KzmPaths::kWbemdConfig << "\n";
        return kSuccess;
    }
    if (arguments.size() == 1 && option == "--version") {
        std::cout << "kzmwbemd " << KZM_VERSION << "\n";
        return kSuccess;
    }
    Log(Level::Error, "\"" + arguments.back() + "\" is not understood. Try --help.");
    return kUsage;
}

} // namespace

int main(int argumentCount, char** arguments) {
    try {
        return Run({arguments + 1, arguments + argumentCount});
    } catch (const std::exception& exception) {
        return Fail(std::string("The server was given up: ") + exception.what() + ".");
    }
}
