#include "wbemd/http/Configuration.h"

namespace wbemd {

CConfiguration LoadConfiguration(const std::string& path, bool handed) {
    CConfigFile file = CConfigFile::Read(path);
    CConfiguration configuration;
    configuration.m_settings = CSettings::Read(&file);
    const CSettings& settings = configuration.m_settings;
    if (handed || !settings.m_listen.empty()) {
        configuration.m_identity = LoadIdentity(settings.m_certificate, settings.m_key);
    } else if (settings.m_listenPlain.empty()) {
        file.Refuse("Listen", "names no address, and ListenPlain names none: nobody can connect.");
    }
    const CTlsIdentity& identity = configuration.m_identity;
    if (!identity.m_certificateProblem.empty()) {
        file.Refuse("Certificate", identity.m_certificateProblem);
    }
    if (!identity.m_keyProblem.empty()) {
        file.Refuse("Key", identity.m_keyProblem);
    }
    if (!identity.m_warning.empty()) {
        configuration.m_warnings.push_back(identity.m_warning);
    }
    configuration.m_problems = file.Problems();
    return configuration;
}

} // namespace wbemd
