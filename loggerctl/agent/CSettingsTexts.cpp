#include "loggerctl/agent/CSettingsTexts.h"

#include "KzmPaths.h"
#include "host/CTextFile.h"
#include "loggerctl/output/CSafeText.h"
#include "loggerctl/output/CUnifiedDiff.h"

namespace {

constexpr std::size_t kMaximumSize = std::size_t{64} * 1024 * 1024;

bool ReadFile(const char* path, std::string* text, std::string* error) {
    std::string reason;
    std::optional<std::string> read = CTextFile::Read(path, kMaximumSize, &reason);
    if (!read) {
        *error = CSafeText::Escape(path) + ": " + CSafeText::Escape(reason) + ".";
        return false;
    }
    *text = std::move(*read);
    return true;
}

std::string FileDifference(const char* path, const std::string& from, const std::string& to) {
    return CUnifiedDiff::Make(from, to, std::string("a") + path, std::string("b") + path);
}

} // namespace

std::optional<CSettingsTexts> CSettingsTexts::Read(std::string* error) {
    CSettingsTexts texts;
    if (!ReadFile(KzmPaths::kAgentConfig, &texts.m_sAgent, error) ||
        !ReadFile(KzmPaths::kAlertConfig, &texts.m_sAlert, error)) {
        return std::nullopt;
    }
    return texts;
}

std::string CSettingsTexts::DifferenceTo(const CSettingsTexts& other) const {
    return FileDifference(KzmPaths::kAgentConfig, m_sAgent, other.m_sAgent) +
           FileDifference(KzmPaths::kAlertConfig, m_sAlert, other.m_sAlert);
}
