#include "tests/system/server/whole/CWbemCli.h"

#include "KzmPaths.h"

#include <unistd.h>

#include <array>
#include <climits>

using std::string;

namespace {

constexpr char kProgram[] = "/usr/bin/wbemcli";

string ReplaceAll(string text, const string& from, const string& to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != string::npos; at += to.size()) {
        text.replace(at, from.size(), to);
    }
    return text;
}

} // namespace

bool CWbemCli::IsThere() {
    return access(kProgram, X_OK) == 0;
}

string CWbemCli::HostName() {
    std::array<char, HOST_NAME_MAX + 1> name{};
    gethostname(name.data(), name.size() - 1);
    return name.data();
}

CProgram::Result CWbemCli::Run(const string& operation, const string& object,
                               const CProgram::Words& more) const {
    CProgram::Words words = {operation, "-nl"};
    const CProgram::Words own = {"-cacert", KzmPaths::kWbemdCertificate};
    const CProgram::Words& trust = m_trust.empty() ? own : m_trust;
    words.insert(words.end(), trust.begin(), trust.end());
    words.push_back("https://" + m_user + ":" + m_password + "@localhost:" +
                    std::to_string(m_server->FrontEnd().HttpsPort()) + "/" + object);
    words.insert(words.end(), more.begin(), more.end());
    CProgram program(words);
    program.RunInstead(kProgram);
    CProgram::Result result = program.Run();
    result.m_sOutput = WithoutPlaces(result.m_sOutput);
    result.m_sError = WithoutPlaces(result.m_sError);
    return result;
}

string CWbemCli::WithoutPlaces(string text) const {
    text = ReplaceAll(text, std::to_string(m_server->FrontEnd().HttpsPort()), "PORT");
    text = ReplaceAll(text, "\"" + HostName() + "\"", "\"HOST\"");
    return ReplaceAll(text, "\"" KZM_VERSION "\"", "\"VERSION\"");
}
