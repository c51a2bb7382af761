#include "tests/system/server/whole/CWholeServer.h"

#include "KzmPaths.h"
#include "tests/system/server/http/Certificates.h"

#include <gtest/gtest.h>

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

CClient CWholeServer::Connect(CClient::Kind kind) const {
    const bool isHttps = kind == CClient::Kind::Https;
    return CClient(isHttps ? m_frontEnd->HttpsPort() : m_frontEnd->HttpPort(), kind);
}
