#include "tests/system/server/whole/CWholeServer.h"

#include "KzmPaths.h"
#include "tests/system/server/http/Certificates.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

namespace fs = std::filesystem;
using std::string;

CWholeServer::CWholeServer(const string& providerdConfiguration) : m_door(providerdConfiguration) {
    fs::create_symlink(INTEROP_DEFINITIONS, KzmPaths::kInteropDefinitions);
    InstallCertificate(MakeCertificate("localhost"));
    StartProviderd();
    StartFrontEnd();
}

void CWholeServer::StartProviderd() {
    EXPECT_TRUE(m_door.Start()) << m_door.Daemon().Log();
}

void CWholeServer::StartFrontEnd() {
    m_frontEnd.reset(); // before the new one
    m_frontEnd = std::make_unique<CServerProcess>("Listen=127.0.0.1:0\n");
}

void CWholeServer::Limit(const string& lines) const {
    CServerProcess::SetConfiguration(string("ListenPlain=127.0.0.1:0\nListen=127.0.0.1:0\n") +
                                     lines);
    m_frontEnd->Signal(SIGHUP);
    m_frontEnd->AwaitLine("read anew");
}

CClient CWholeServer::Connect(CClient::Kind kind) const {
    const bool isHttps = kind == CClient::Kind::Https;
    return CClient(isHttps ? m_frontEnd->HttpsPort() : m_frontEnd->HttpPort(), kind);
}
