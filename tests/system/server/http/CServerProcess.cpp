#include "tests/system/server/http/CServerProcess.h"

#include "KzmPaths.h"
#include "tests/support/CTestRoot.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

namespace fs = std::filesystem;
using std::string;

CServerProcess::CServerProcess(const string& lines)
    : CServerProcess(Start("ListenPlain=127.0.0.1:0\n" +
                           (lines.find("Listen=") == string::npos ? "Listen=\n" + lines : lines))) {
    if (lines.find("Listen=") != string::npos) {
        AwaitPort("https");
    }
    AwaitPort("http");
}

CServerProcess CServerProcess::Start(const string& lines, const Words& arguments,
                                     const Words& environment, const std::vector<int>& listeners) {
    SetConfiguration(lines);
    return CServerProcess(
        std::make_unique<CDaemonProcess>(WBEMD_PROGRAM, arguments, environment, listeners));
}

void CServerProcess::SetConfiguration(const string& lines) {
    fs::create_directories(fs::path(KzmPaths::kWbemdConfig).parent_path());
    WriteFile(KzmPaths::kWbemdConfig, lines);
}

void CServerProcess::AwaitPort(const string& kind) {
    const string line = AwaitLine("(" + kind + ").");
    const string port = line.substr(line.rfind(':') == string::npos ? 0 : line.rfind(':') + 1);
    (kind == "http" ? m_httpPort : m_httpsPort) = std::atoi(port.c_str());
}

string CServerProcess::AwaitLine(const string& text) {
    string line = m_daemon->AwaitLogged(text);
    EXPECT_NE(line, "") << "no line \"" << text << "\" in\n" << m_daemon->Log();
    return line;
}
